#pragma once

#include "gameengine/export.h"
#include "tamradeps/core/baseObject.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/// One property of a component on its way between the component and an editor or a file.
///
/// A component fills the record in `GetProperty` and reads it in `SetProperty`. The value lies where `data` points: in
/// the record's own buffer by default, or in the component itself when it does not fit, as with long texts. It stays
/// valid until the record or the component changes.
///
///     CEntityComponentProperty property;
///     property.SetFloat("FOV", 60.0F);
///     camera->SetPropertyTo("FOV", property);
class TAMRAGAMEENGINE_API CEntityComponentProperty : public BaseObject
{
public:
    /// The numbers are part of saved data and of the contract with editors.
    enum Kind : std::int32_t
    {
        kNone = 0,
        kInt = 1,     ///< 32-bit signed integer
        kFloat = 2,   ///< 32-bit float
        kVector3 = 3, ///< three floats
        kText = 4,    ///< zero-terminated text, UTF-8
        kColor = 5,   ///< four floats: R, G, B, A
        kFile = 6,    ///< zero-terminated text that names a file
        kOpaque = 7,  ///< anything; never saved
        kChoice = 8   ///< 32-bit signed integer, a position in `choices`
    };
    static constexpr std::size_t kBufferSize = 256;

    CEntityComponentProperty() noexcept : data(buffer) {}
    /// A value in the other record's buffer is copied into this one's.
    CEntityComponentProperty(const CEntityComponentProperty& other) noexcept;
    CEntityComponentProperty& operator=(const CEntityComponentProperty& other) noexcept;

    const char* GetTypeString() override;

    // Fill the record, value in its own buffer.
    void SetInt(const char* propertyName, std::int32_t value) noexcept;
    void SetFloat(const char* propertyName, float value) noexcept;
    void SetVector3(const char* propertyName, float x, float y, float z) noexcept;
    /// `rgba` points at four floats.
    void SetColor(const char* propertyName, const float* rgba) noexcept;
    /// `names` ends with a null pointer and lives as long as the program.
    void SetChoice(const char* propertyName, std::int32_t value, const char* const* names) noexcept;
    /// Copies a text that fits the buffer with its terminator; points at a longer one, which must then outlive the
    /// record.
    void SetText(const char* propertyName, const char* text, Kind textKind = kText) noexcept;

    // Read the value. A record of another kind, or without data, gives 0 or "". Integers and choices count as one kind,
    // texts and files too.
    std::int32_t GetInt() const noexcept;
    float GetFloat() const noexcept;
    const char* GetText() const noexcept;
    // Read the value into `out`; false, and `out` as it was, for a record of another kind or without data.
    bool ReadInt(std::int32_t& out) const noexcept;
    bool ReadFloat(float& out) const noexcept;
    bool ReadVector3(float* xyz) const noexcept;
    bool ReadColor(float* rgba) const noexcept;
    /// For whoever takes either: three floats of a vector or four of a colour.
    bool ReadFloats(float* out) const noexcept;

    const char* name = "";     ///< The property's label; a text that lives as long as the program.
    std::int32_t kind = kNone; ///< One of `Kind`.
    void* data;                ///< The value.
    alignas(8) char buffer[kBufferSize] = {};
    const char* const* choices = nullptr; ///< For kind 8: the names shown by editors, ended by a null pointer.

private:
    void i_Begin(const char* propertyName, Kind newKind) noexcept;
};
