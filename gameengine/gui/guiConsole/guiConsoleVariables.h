#pragma once

#include "gameengine/export.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What a variable holds: the alternative is its type, which stays.
using GuiConsoleValue = std::variant<bool, std::int32_t, float, std::string>;

/// A setting that the user reads and changes by its name.
struct GuiConsoleVariable
{
    /// Hears of every change, after it; not of a change that it makes itself to this variable. It may add and remove
    /// variables, this one too.
    using Changed = std::function<void(const std::string& name, const GuiConsoleValue& value)>;

    GuiConsoleValue value;
    /// What is allowed, both ends included: numbers, or the length of a text in bytes.
    double low = -(std::numeric_limits<double>::max)();
    double high = (std::numeric_limits<double>::max)();
    std::string help = {};
    Changed changed = {};
};

/// The variables of a console, by name.
///
///     variables.Add("view.angle", {.value = 75.0F, .low = 30, .high = 120, .help = "Degrees from left to right."});
///     camera.SetAngle(variables.Get<float>("view.angle"));
class TAMRAGAMEENGINE_API CGuiConsoleVariables
{
public:
    /// The value that it has now is what `Reset` goes back to. False, with a log line and nothing changed, for a name
    /// that is taken, empty, or has spaces or control characters, and for a value that is not allowed.
    bool Add(const std::string& name, GuiConsoleVariable variable);
    void Remove(std::string_view name);

    /// Null for none; valid until the variable is removed.
    const GuiConsoleValue* Find(std::string_view name) const;
    /// The value of a variable of this type; `fallback` where there is none. Costs a search by name.
    template <class T>
    T Get(std::string_view name, T fallback = {}) const
    {
        const GuiConsoleValue* const value = Find(name);
        const T* const held = value ? std::get_if<T>(value) : nullptr;
        return held ? *held : fallback;
    }

    /// False, with nothing changed and the reason in `fault` if given, where there is no such variable, and for a value
    /// that is of another type or not allowed. A value that it has already is no change.
    bool Set(std::string_view name, const GuiConsoleValue& value, std::string* fault = nullptr);
    /// The same from what a user typed: true, false, on, off, 1, 0; numbers with a point; a text as it is.
    bool SetText(std::string_view name, std::string_view text, std::string* fault = nullptr);
    bool Reset(std::string_view name, std::string* fault = nullptr);

    /// In order of the alphabet.
    std::vector<std::string> GetNames() const;
    /// One line: the value, what is allowed, and the help. Empty for none.
    std::string Describe(std::string_view name) const;

private:
    struct Entry
    {
        GuiConsoleVariable variable;
        GuiConsoleValue initial;
        bool isTelling = false; // the change is being told
    };

    std::map<std::string, std::shared_ptr<Entry>, std::less<>> m_entries;
};
