#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace gui
{
/// Base of classes that are neither copied nor moved.
class NonCopyable
{
public:
    NonCopyable() = default;
    NonCopyable(const NonCopyable&) = delete;
    NonCopyable& operator=(const NonCopyable&) = delete;

protected:
    ~NonCopyable() = default;
};

/// A point or a size.
template <class T>
struct Vec2
{
    T x{};
    T y{};

    constexpr Vec2() noexcept = default;
    constexpr Vec2(T ax, T ay) noexcept : x(ax), y(ay) {}
    constexpr void Set(T ax, T ay) noexcept
    {
        x = ax;
        y = ay;
    }
    /// 0 is x, everything else y.
    constexpr T& operator[](std::size_t i) noexcept { return i == 0 ? x : y; }
    constexpr const T& operator[](std::size_t i) const noexcept { return i == 0 ? x : y; }

    friend constexpr bool operator==(const Vec2&, const Vec2&) noexcept = default;
};

/// Four numbers, such as the borders left, top, right and bottom.
template <class T>
struct Vec4
{
    T x{};
    T y{};
    T z{};
    T w{};

    constexpr Vec4() noexcept = default;
    constexpr Vec4(T ax, T ay, T az, T aw) noexcept : x(ax), y(ay), z(az), w(aw) {}

    friend constexpr bool operator==(const Vec4&, const Vec4&) noexcept = default;
};

/// Position of the upper left corner, and size, in pixels. A point on the right or lower edge is outside.
template <class T>
struct Rect
{
    T x{};
    T y{};
    T w{};
    T h{};

    constexpr Rect() noexcept = default;
    constexpr Rect(T ax, T ay, T aw, T ah) noexcept : x(ax), y(ay), w(aw), h(ah) {}
    constexpr Rect(Vec2<T> position, Vec2<T> size) noexcept : x(position.x), y(position.y), w(size.x), h(size.y) {}

    constexpr Vec2<T> Size() const noexcept { return {w, h}; }
    /// The lower right corner.
    constexpr Vec2<T> BR() const noexcept { return {static_cast<T>(x + w), static_cast<T>(y + h)}; }

    constexpr bool Holds(Vec2<T> point) const noexcept
    {
        // The end may lie beyond what an integer holds.
        using Wide = std::conditional_t<std::is_integral_v<T>, std::int64_t, T>;
        return point.x >= x && point.x < Wide{x} + w && point.y >= y && point.y < Wide{y} + h;
    }

    friend constexpr bool operator==(const Rect&, const Rect&) noexcept = default;
};

/// Pixels, as drawn and hit.
using GuiRecti = Rect<int>;
/// The same with fractions, as layouts calculate.
using GuiRectf = Rect<float>;

/// The same rectangle in floats.
constexpr GuiRectf ToFloat(const GuiRecti& rect) noexcept
{
    return {static_cast<float>(rect.x), static_cast<float>(rect.y), static_cast<float>(rect.w),
            static_cast<float>(rect.h)};
}
} // namespace gui
