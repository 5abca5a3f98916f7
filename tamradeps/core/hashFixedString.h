#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// A short text with its hash, for names that are compared often: commands, events, keys. It lives in place, without
/// heap memory, and comparing two usually compares two numbers.
///
/// Texts longer than `kMaxLength` bytes are cut there.
class CHashFixedString
{
public:
    static constexpr std::size_t kMaxLength = 63;

    constexpr CHashFixedString() noexcept = default;
    constexpr CHashFixedString(const char* text) noexcept : CHashFixedString(std::string_view(text ? text : "")) {}
    constexpr CHashFixedString(std::string_view text) noexcept
        : m_length(static_cast<std::uint32_t>(text.size() < kMaxLength ? text.size() : kMaxLength))
    {
        for (std::uint32_t i = 0; i < m_length; ++i)
        {
            m_text[i] = text[i];
            m_hash = (m_hash ^ static_cast<std::uint8_t>(text[i])) * 16777619U;
        }
    }

    constexpr const char* GetText() const noexcept { return m_text; }
    constexpr std::string_view GetView() const noexcept { return {m_text, m_length}; }
    constexpr std::size_t GetLength() const noexcept { return m_length; }
    /// 32-bit FNV-1a of the text's bytes.
    constexpr std::uint32_t GetHash() const noexcept { return m_hash; }

    friend constexpr bool operator==(const CHashFixedString& a, const CHashFixedString& b) noexcept
    {
        return a.m_hash == b.m_hash && a.GetView() == b.GetView();
    }

private:
    std::uint32_t m_hash = 2166136261U;
    std::uint32_t m_length = 0;
    char m_text[kMaxLength + 1] = {};
};
