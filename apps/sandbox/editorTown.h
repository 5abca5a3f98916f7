#pragma once

#include "apps/sandbox/townPath.h"
#include "apps/sandbox/townViewer.h"
#include "gameengine/engine/entityArraySpatialQuery.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct EditorProperty;

/// A town in the editor: what is chosen, from where it is seen, and what can be done to it. Knows nothing of widgets:
/// these look at the revisions, which count changes.
class CEditorTown
{
public:
    /// The renderer has a device and must outlive it.
    explicit CEditorTown(renderer::CRenderer& renderer) : m_renderer(renderer) {}

    /// Reads the scene file, anew if need be: what was not saved is gone then, and nothing is chosen. False, with all
    /// as before and the reason logged, when that fails.
    bool Load(const std::string& path, int width, int height, TownCuller culler);
    bool Reload();
    /// Writes what was changed to the file. False when that failed.
    bool Save();
    /// Rows that the last save wrote or deleted.
    int GetSavedCount() const noexcept { return m_savedCount; }
    /// Whether there is something to save.
    bool IsModified() const noexcept { return m_isModified; }

    CTownModel& GetModel() noexcept { return *m_model; }
    CTownViewer& GetViewer() noexcept { return *m_viewer; }
    TownViewpoint& GetViewpoint() noexcept { return m_viewpoint; }

    /// Null for none. Valid until it is deleted, or the town is loaded anew.
    CEntity* GetSelected() const noexcept { return m_selected.Get(); }
    void Select(CEntity* entity);

    /// Puts a building with a name there, upright, with its middle over the place.
    CEntity* Spawn(const std::string& name, CVector3 size, CVector3 place);
    /// False for what is none of the town.
    bool Delete(CEntity* entity);
    /// Adds a component by its position in the type database, or takes the one of that type away. False, with the
    /// reason in `fault`, where the entity has it already, or needs it or has it not.
    bool AddComponent(CEntity& entity, int type, std::string& fault);
    bool RemoveComponent(CEntity& entity, int type, std::string& fault);
    /// Sets a property. False when the entity has it no more.
    bool Set(CEntity& entity, const EditorProperty& property, CEntityComponentProperty& value);

    /// The number of an entity, as commands and lists tell it; null for none.
    CEntity* Get(int number) const;
    int GetNumber(const CEntity& entity) const { return m_model->GetNumber(&entity); }
    /// Those whose name has the text in it, in any case of letters, by number.
    std::vector<int> Find(std::string_view text) const;
    /// The place that a name means best: the whole name, before its beginning, before a part of it; of these the
    /// largest. Null for none.
    CEntity* FindPlace(std::string_view name) const;
    /// What is seen at a pixel of the last picture; null for the ground and the sky.
    CEntity* Pick(int x, int y);
    /// What a ray hits first, the direction of which has the length 1; null for nothing. `distance` gets how far that
    /// is, or the ground; it is `kFarAway` for the sky.
    CEntity* Cast(CVector3 origin, CVector3 direction, float& distance);
    static constexpr float kFarAway = 20000.0F; ///< Metres.
    /// Puts the camera before an entity.
    void GoTo(const CEntity& entity);
    void GoTo(CVector3 place, float distance);

    /// Another one after a change of what there is, or of its names; of the selected entity's components; and of any
    /// value.
    unsigned GetListRevision() const noexcept { return m_listRevision; }
    unsigned GetComponentRevision() const noexcept { return m_componentRevision; }
    unsigned GetValueRevision() const noexcept { return m_valueRevision; }

    /// As lists show it: number and name.
    std::string GetLabel(int number) const;

private:
    void i_NoteChange(CEntity* entity);
    void i_Mark();

    renderer::CRenderer& m_renderer;
    std::string m_path;
    std::unique_ptr<CTownModel> m_model;
    std::unique_ptr<CTownViewer> m_viewer;
    std::unique_ptr<CEntityArray_SpatialQuery> m_query;
    CEntityArray_SpatialQuery::Buffer m_hits;
    RefPtr<CEntity> m_selected;
    TownViewpoint m_viewpoint;
    unsigned m_listRevision = 0;
    unsigned m_componentRevision = 0;
    unsigned m_valueRevision = 0;
    int m_savedCount = 0;
    bool m_isModified = false;
};
