#pragma once

#include "gameengine/engine/entityComponent.h"

#include <string>

/// The entity's name in the editor: a UTF-8 text of any length, empty at first.
class TAMRAGAMEENGINE_API ComponentEditorData : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentEditorData, CEntityComponentRepository, 10015);

public:
    explicit ComponentEditorData(CEntity* entity);
    ComponentEditorData(const ComponentEditorData& other) = default;
    ComponentEditorData& operator=(const ComponentEditorData& other) = default;
    ~ComponentEditorData() override;

    /// "Editor Name", a text. One that does not fit the record's buffer is pointed at, and valid until the name
    /// changes.
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    void SerializerSave(UDBGroup& group) override;
    /// Calls `FinalizeProperties()` afterwards.
    void SerializerLoad(UDBGroup& group) override;
    /// Takes over the name; a source of another class is ignored.
    void Copy(CEntityComponent* source) override;

    /// Zero-terminated, valid until the name changes.
    const char* GetData() const noexcept { return m_data.c_str(); }
    /// Copies the text; null is the empty text.
    void SetData(const char* text);

private:
    std::string m_data;
};
