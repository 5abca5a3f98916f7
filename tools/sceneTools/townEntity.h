#pragma once

#include "gameengine/engine/entity.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/math/matrix.h"
#include "tamradeps/math/vector3.h"

#include <string>
#include <string_view>

class CInterfaceCollection;

/// What a town is made of. The kind is the first word of the entity's name ("building", "street", "park", "water",
/// "place"), so that it is saved with the entity.
enum class TownKind
{
    None, ///< Not part of a town.
    Building,
    Street,
    Park,
    Water,
    Place
};

inline constexpr int kTownKindCount = 6;

/// The word that names of this kind start with; empty for `None`.
std::string_view GetTownKindWord(TownKind kind);

/// A piece of a town before it becomes an entity: an upright box, turned about the vertical axis.
struct TownBox
{
    TownKind kind = TownKind::None;
    /// UTF-8, without the kind's word; often empty.
    std::string name;
    /// Middle of the box in metres.
    CVector3 centre;
    /// Horizontal unit vector along the box's local X axis.
    float directionX = 1.0F;
    float directionY = 0.0F;
    /// Lengths along the local axes in metres, all above 0.
    CVector3 size;

    /// What the entity's transform holds: the box's rotation about Z, its middle, and its size as the lengths of the
    /// local axes, so that the matrix takes the unit box (-0.5 to 0.5) to the box.
    CMatrix GetMatrix() const noexcept;
};

/// Makes an entity with a `ComponentEditorData` (kind and name), a `ComponentTransformDirect` (see
/// `TownBox::GetMatrix`) and the unit box as its local box. It is in no array yet.
RefPtr<CEntity> CreateTownEntity(const TownBox& box, CInterfaceCollection* scene);

/// Gives a town's entity the unit box as its local box again. Files do not hold local boxes: call it on every entity
/// of a town that was loaded. Entities that are none of a town's, or have no transform, stay as they are.
void PrepareTownEntity(CEntity& entity);

/// The kind by the entity's name; `None` without a name or with another first word.
TownKind GetTownKind(const CEntity& entity);
TownKind GetTownKind(std::string_view entityName);

/// The name behind the kind's word, valid until the name changes. Empty where there is none, and for other entities.
std::string_view GetTownName(const CEntity& entity);
