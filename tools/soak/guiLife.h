#pragma once

#include "gameengine/gameEngine.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiEvent.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidget.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tools/soak/life.h"

#include <memory>
#include <vector>

namespace soak
{
/// Opens and closes windows of the shipped files, uses them as a user out of his mind would, and plays a program that
/// changes everything in answer to him.
class CGuiLife final : public CLife, public gui::GuiCallback
{
public:
    CGuiLife(CJournal& journal, CTamraGameEngine& engine);

    const char* GetName() const override { return "gui"; }
    void Step(CRandom& random) override;
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override;

private:
    using Widgets = std::vector<gui::GuiWidget*>;

    Widgets i_Collect() const;
    gui::GuiWidget* i_Pick(CRandom& random) const;
    void i_Open(CRandom& random);
    void i_Close(CRandom& random);
    void i_Change(CRandom& random);
    void i_Grow(gui::GuiWidget& place, CRandom& random);
    void i_MoveMouse(CRandom& random);
    void i_Input(CRandom& random);
    void i_Pass(CRandom& random);
    void i_Mend();
    void i_LetGo();

    void i_Draw();

    CTamraGameEngine& m_engine;
    RefPtr<renderer::CRenderTarget> m_target; // null without a device
    std::unique_ptr<gui::GuiContext> m_context;
    CRandom* m_random = nullptr; // of the step under way, for the answers to events
    int m_width = 1280;
    int m_height = 720;
};
} // namespace soak
