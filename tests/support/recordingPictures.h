#pragma once

#include "support/recordingDraw.h"

#include <memory>
#include <utility>
#include <vector>

namespace test
{
/// Keeps pictures and their pieces as calls, and lets any piece take the place of any other.
class RecordingPictures final : public RecordingDraw
{
public:
    std::shared_ptr<gui::DrawPicture> CreatePicture() override { return m_picture; }
    void BeginPicture(gui::DrawPicture&) override
    {
        m_picture->parts.clear();
        calls.clear();
    }
    void EndPicture() override { EndPiece(); }
    void BeginPiece() override { EndPiece(); }
    int EndPiece() override
    {
        m_picture->parts.push_back(std::exchange(calls, {}));
        return static_cast<int>(m_picture->parts.size()) - 1;
    }
    void BeginReplace(gui::DrawPicture&, int piece) override
    {
        m_piece = piece;
        calls.clear();
    }
    bool EndReplace() override
    {
        m_picture->parts[static_cast<std::size_t>(m_piece)] = std::exchange(calls, {});
        return true;
    }

    /// The calls that made the picture.
    std::vector<Call> GetPicture() const
    {
        std::vector<Call> all;
        for (const std::vector<Call>& part : m_picture->parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    }

private:
    struct Picture : gui::DrawPicture
    {
        std::vector<std::vector<Call>> parts;
    };
    std::shared_ptr<Picture> m_picture = std::make_shared<Picture>();
    int m_piece = 0;
};
} // namespace test
