#pragma once

#include "apps/sandbox/editorHistory.h"
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
    /// Whether there is something to save. An edit that was taken back is nothing.
    bool IsModified() const noexcept { return m_content != m_savedContent; }

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
    /// Moves an entity, by its property "Translation" if it has one.
    void Move(CEntity& entity, CVector3 place);
    /// Gives an entity of the town another place and size; those that are no numbers, or not above 0, are refused.
    bool SetPlace(CEntity& entity, const CMatrix& place);

    /// Changes of the same thing, such as those of a drag or of typing, are one edit until this.
    void EndEdit();
    /// Takes the last edit back, or does again what was taken back; what was changed is selected. False when there is
    /// none. Loading the town anew forgets all.
    bool Undo() { return i_Apply(m_history.Undo(), true); }
    bool Redo() { return i_Apply(m_history.Redo(), false); }
    bool CanUndo() const noexcept { return m_history.CanUndo(); }
    bool CanRedo() const noexcept { return m_history.CanRedo(); }

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
    /// From the eye through a pixel of the last picture.
    struct Ray
    {
        CVector3 origin;
        CVector3 direction; ///< Its length is 1.
    };
    Ray GetRay(int x, int y) const;
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
    /// Another one after `Undo` and `Redo`: what is being typed counts no more.
    unsigned GetUndoRevision() const noexcept { return m_undoRevision; }

    /// As lists show it: number and name.
    std::string GetLabel(int number) const;

private:
    template <class Change>
    void i_Change(CEntity& entity, const std::string& what, const Change& change);
    void i_NoteChange(CEntity* entity);
    void i_NoteComing(CEntity* entity, const char* what, bool isThere);
    bool i_Apply(const CEditorHistory::Edit* edit, bool isUndo);
    void i_Remove(int number);
    void i_Mark();

    renderer::CRenderer& m_renderer;
    std::string m_path;
    std::unique_ptr<CTownModel> m_model;
    std::unique_ptr<CTownViewer> m_viewer;
    std::unique_ptr<CEntityArray_SpatialQuery> m_query;
    CEntityArray_SpatialQuery::Buffer m_hits;
    CEditorHistory m_history;
    RefPtr<CEntity> m_selected;
    TownViewpoint m_viewpoint;
    unsigned m_listRevision = 0;
    unsigned m_componentRevision = 0;
    unsigned m_valueRevision = 0;
    unsigned m_undoRevision = 0;
    // Numbers of all that the town holds, now, in the file, and the last one given.
    unsigned m_content = 0;
    unsigned m_savedContent = 0;
    unsigned m_lastContent = 0;
    int m_savedCount = 0;
};
