#pragma once

#include "gameengine/engine/entityComponent.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A property of one of an entity's components, as the component tells it: nothing here knows any type of component.
struct EditorProperty
{
    int component = 0; ///< Position in the entity's list.
    int index = 0;     ///< Of the property.
    std::string componentName;
    CEntityComponentProperty record; ///< Valid until the component changes.

    /// A choice between off and on.
    bool IsFlag() const;
};

/// The properties of all components, in their order.
std::vector<EditorProperty> CollectProperties(const CEntity& entity);
/// The same property as it is now. False when the entity has it no more.
bool ReadProperty(const CEntity& entity, EditorProperty& property);
/// Hands a value to the component, and ends the batch. False when there is no such component.
bool WriteProperty(CEntity& entity, const EditorProperty& property, CEntityComponentProperty& value);

/// How many names a choice has; 0 for other kinds.
int CountChoices(const CEntityComponentProperty& record);

/// The value as a person types it: numbers with spaces between, the name of a choice, a text as it is.
std::string FormatProperty(const CEntityComponentProperty& record);
/// Puts a value that was typed into a record that has name and kind. False, with nothing changed, when it is none. The
/// record may point at the text.
bool ParseProperty(const std::string& text, CEntityComponentProperty& record);

/// Finds the property whose name the text begins with, the longest one, and takes it and the space behind it off the
/// text. Letters of both cases are the same.
std::optional<EditorProperty> TakeProperty(const CEntity& entity, std::string_view& text);
