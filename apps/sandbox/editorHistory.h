#pragma once

#include "gameengine/engine/entity.h"
#include "tamradeps/core/refPtr.h"

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

/// What an entity is: which components it has, what they save, and what they tell by `GetProperty`. Knows no type of
/// component.
class CEntitySnapshot
{
public:
    CEntitySnapshot() = default;
    explicit CEntitySnapshot(const CEntity& entity);

    /// Makes the entity be so again, to the last bit of what its components save. Components stay where they are, and
    /// are made or taken away only where their types differ.
    void Restore(CEntity& entity) const;
    friend bool operator==(const CEntitySnapshot& a, const CEntitySnapshot& b) = default;

private:
    struct Part
    {
        std::string type;
        std::vector<std::byte> data;     // empty for what saves nothing
        std::vector<std::string> values; // of the properties
        friend bool operator==(const Part& a, const Part& b) = default;
    };

    const Part* i_Find(const char* type) const;
    void i_RestoreList(CEntity& entity) const;

    std::vector<Part> m_parts;
};

/// The last edits of a town, to be taken back and done again. Changes of one thing that follow each other, as those of
/// a drag, are one edit until `Close`.
class CEditorHistory
{
public:
    static constexpr std::size_t kMaxEdits = 200; ///< Older ones are forgotten.

    /// How an entity was, or is.
    struct State
    {
        bool isThere = true; ///< In the town.
        CEntitySnapshot entity;
        unsigned content = 0; ///< A number for all that the town holds.
    };
    struct Edit
    {
        RefPtr<CEntity> entity;
        std::string what;
        State before;
        State after;
        int number = -1;      ///< The place in the town of an entity that comes or goes.
        std::size_t seed = 0; ///< Of its looks.
    };

    /// Before a change. `content` is that of the town as it is. One that goes on with the open edit, which is of the
    /// same entity and `what`, becomes a part of it.
    void Begin(CEntity& entity, const std::string& what, unsigned content);
    /// After it. `content` is a new one.
    void End(unsigned content);
    /// Puts in a finished edit, by which an entity came or went.
    void Add(Edit edit);
    /// What comes next is another edit. One that has changed nothing is dropped: true then, and `content` gets that
    /// from before it.
    bool Close(unsigned& content);
    void Clear();

    /// The edit to take back, or to do again; null for none. Valid until the next call.
    const Edit* Undo();
    const Edit* Redo();
    bool CanUndo() const noexcept { return m_position > 0; }
    bool CanRedo() const noexcept { return m_position < m_edits.size(); }

private:
    std::deque<Edit> m_edits;
    std::size_t m_position = 0; // of the first one that was taken back
    bool m_isOpen = false;      // the last one may go on
};
