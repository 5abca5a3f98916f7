#include "gameengine/gui/guiConsole/guiConsoleVariables.h"

#include "tamradeps/core/log.h"
#include "tamradeps/core/tools.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <utility>

namespace
{
constexpr std::array<const char*, 4> kTypeNames = {"bool", "int", "float", "text"};
constexpr double kNoEnd = std::numeric_limits<double>::max();

float ToFloat(double end)
{
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(end, -kLargest, kLargest));
}

std::string ToText(float number)
{
    std::array<char, 64> text;
    // As many digits as it takes to read the same number.
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general).ptr;
    return {text.data(), end};
}

std::string ToText(const GuiConsoleValue& value)
{
    if (const bool* flag = std::get_if<bool>(&value))
        return *flag ? "true" : "false";
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
        return std::to_string(*number);
    if (const float* number = std::get_if<float>(&value))
        return ToText(*number);
    return '"' + std::get<std::string>(value) + '"';
}

// The ends of a range are written like the values between them.
std::string ToText(double end, const GuiConsoleValue& value)
{
    return std::holds_alternative<float>(value) ? ToText(ToFloat(end)) : std::to_string(Tools_ToInt32(end));
}

template <class Number>
std::optional<GuiConsoleValue> ParseNumber(std::string_view text)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return number;
}

std::optional<GuiConsoleValue> Parse(std::string_view text, std::size_t type)
{
    if (type == 3)
        return std::string(text);
    text = Tools_StringTrim(text);
    if (type == 1)
        return ParseNumber<std::int32_t>(text);
    if (type == 2)
        return ParseNumber<float>(text);
    const std::string word = Tools_StringToLowercase(text);
    if (word == "true" || word == "on" || word == "1")
        return true;
    if (word == "false" || word == "off" || word == "0")
        return false;
    return std::nullopt;
}

double GetMeasure(const GuiConsoleValue& value)
{
    if (const std::int32_t* number = std::get_if<std::int32_t>(&value))
        return *number;
    if (const float* number = std::get_if<float>(&value))
        return static_cast<double>(*number);
    if (const std::string* text = std::get_if<std::string>(&value))
        return static_cast<double>(text->size());
    return 0.0;
}

// What is no number is in no range. The ends are taken as values of the variable's type: 0.3 as a float is more.
bool IsAllowed(const GuiConsoleValue& value, const GuiConsoleVariable& variable)
{
    const double measure = GetMeasure(value);
    const bool isFloat = std::holds_alternative<float>(value);
    const double low = isFloat ? ToFloat(variable.low) : variable.low;
    const double high = isFloat ? ToFloat(variable.high) : variable.high;
    return std::holds_alternative<bool>(value) || (std::isfinite(measure) && measure >= low && measure <= high);
}

// "float, 30 to 120"
std::string DescribeType(const GuiConsoleVariable& variable)
{
    std::string text = kTypeNames[variable.value.index()];
    if (std::holds_alternative<bool>(variable.value))
        return text;
    const char* const unit = std::holds_alternative<std::string>(variable.value) ? " bytes" : "";
    // Of whole numbers, the first and the last that are allowed.
    const bool isFloat = std::holds_alternative<float>(variable.value);
    const double low = isFloat ? variable.low : std::ceil(variable.low);
    const double high = isFloat ? variable.high : std::floor(variable.high);
    const bool hasLow = variable.low > -kNoEnd;
    const bool hasHigh = variable.high < kNoEnd;
    if (hasLow && hasHigh)
        text += ", " + ToText(low, variable.value) + " to " + ToText(high, variable.value) + unit;
    else if (hasLow)
        text += ", at least " + ToText(low, variable.value) + unit;
    else if (hasHigh)
        text += ", at most " + ToText(high, variable.value) + unit;
    return text;
}

std::string DescribeRefusal(std::string_view name, const GuiConsoleVariable& variable)
{
    return std::string(name).append(" takes another value: ").append(DescribeType(variable)).append(".");
}

bool IsName(std::string_view name)
{
    return !name.empty() &&
           std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) <= ' '; });
}

bool Fail(std::string* fault, std::string reason)
{
    if (fault)
        *fault = std::move(reason);
    return false;
}
} // namespace

bool CGuiConsoleVariables::Add(const std::string& name, GuiConsoleVariable variable)
{
    if (!IsName(name) || m_entries.contains(name) || !IsAllowed(variable.value, variable))
    {
        tamra::log::Error("CGuiConsoleVariables: \"" + tamra::log::Quoted(name) + "\" cannot be added: " +
                          (!IsName(name)              ? "that is no name"
                           : m_entries.contains(name) ? "the name is taken"
                                                      : "the value is not in the range"));
        return false;
    }
    auto entry = std::make_shared<Entry>();
    entry->initial = variable.value;
    entry->variable = std::move(variable);
    m_entries.emplace(name, std::move(entry));
    return true;
}

void CGuiConsoleVariables::Remove(std::string_view name)
{
    if (const auto found = m_entries.find(name); found != m_entries.end())
        m_entries.erase(found);
}

const GuiConsoleValue* CGuiConsoleVariables::Find(std::string_view name) const
{
    const auto found = m_entries.find(name);
    return found != m_entries.end() ? &found->second->variable.value : nullptr;
}

bool CGuiConsoleVariables::Set(std::string_view name, const GuiConsoleValue& value, std::string* fault)
{
    const auto found = m_entries.find(name);
    if (found == m_entries.end())
        return Fail(fault, "There is no variable \"" + tamra::log::Quoted(name) + "\".");
    // Whoever hears of the change may remove the variable, and with it what is used here.
    const std::shared_ptr<Entry> entry = found->second;
    GuiConsoleVariable& variable = entry->variable;
    if (value.index() != variable.value.index() || !IsAllowed(value, variable))
        return Fail(fault, DescribeRefusal(found->first, variable));
    if (value == variable.value)
        return true;
    variable.value = value;
    if (!variable.changed || entry->isTelling)
        return true;
    entry->isTelling = true;
    variable.changed(std::string(found->first), GuiConsoleValue(variable.value));
    entry->isTelling = false;
    return true;
}

bool CGuiConsoleVariables::SetText(std::string_view name, std::string_view text, std::string* fault)
{
    const GuiConsoleValue* const current = Find(name);
    if (!current)
        return Set(name, {}, fault);
    if (const auto value = Parse(text, current->index()))
        return Set(name, *value, fault);
    return Fail(fault, DescribeRefusal(name, m_entries.find(name)->second->variable));
}

bool CGuiConsoleVariables::Reset(std::string_view name, std::string* fault)
{
    const auto found = m_entries.find(name);
    return Set(name, found != m_entries.end() ? GuiConsoleValue(found->second->initial) : GuiConsoleValue(), fault);
}

std::vector<std::string> CGuiConsoleVariables::GetNames() const
{
    std::vector<std::string> names;
    for (const auto& [name, entry] : m_entries)
        names.push_back(name);
    return names;
}

std::string CGuiConsoleVariables::Describe(std::string_view name) const
{
    const auto found = m_entries.find(name);
    if (found == m_entries.end())
        return {};
    const GuiConsoleVariable& variable = found->second->variable;
    std::string line = found->first + " = " + ToText(variable.value) + " (" + DescribeType(variable);
    if (variable.value != found->second->initial)
        line += ", at first " + ToText(found->second->initial);
    line += ')';
    if (!variable.help.empty())
        line += "  " + variable.help;
    return line;
}
