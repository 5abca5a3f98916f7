// Modules built apart call these classes through their tables of virtual functions: a function that moves breaks them.
// The places stand in virtualSlots.txt; a change there is a new version of the libraries.

#if defined(__linux__) && defined(__x86_64__)
#include "corvex/context.h"
#include "gameengine/engine/aabbDynamicGrid.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "gameengine/engine/interfaceArrayManager.h"
#include "gameengine/engine/interfaceCVX.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/engine/interfaceUpdateEvent.h"
#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBTree.h"
#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiItemWidget.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiNodeWidget.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "gameengine/gui/guiWidget/guiTextEdit.h"
#include "support/files.h"
#include "tamradeps/core/log.h"
#include "tamraengine/renderer/input.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string_view>
#include <vector>

#include <cxxabi.h>
#include <gtest/gtest.h>

namespace
{
// "Write" of "... [with auto Function = &tamra::log::Sink::Write]".
template <auto Function>
std::string_view NameOf()
{
    std::string_view name = __PRETTY_FUNCTION__;
    name = name.substr(name.find('&') + 1);
    name = name.substr(0, name.find_first_of(";]"));
    return name.substr(name.rfind("::") + 2);
}

// Place in the table as the compiler calls it: a pointer to a virtual member function begins with 1 + 8 * the place.
template <class Member>
std::size_t PlaceOf(Member member)
{
    std::size_t word = 0;
    static_assert(sizeof(member) >= sizeof(word));
    std::memcpy(&word, &member, sizeof(word));
    EXPECT_EQ(word % 8, 1U) << "not virtual";
    return word / 8;
}

// The first place behind those of the class: where a further class would put its first function.
template <class Class>
struct Further : Class
{
    virtual void First();
};
template <class Class>
std::size_t CountPlaces()
{
    return PlaceOf(&Further<Class>::First);
}

// Writes the places that the class adds to those of its base (void when it has none), one a line, the destructor
// counted once. Those that only derived classes may call are not named.
template <class Class, class Base, auto... Functions>
void Describe(std::ostream& out)
{
    std::size_t first = 0;
    if constexpr (!std::is_void_v<Base>)
        first = CountPlaces<Base>();
    constexpr std::size_t kDestructors = std::has_virtual_destructor_v<Class> ? 2 : 0; // in place, and deleting
    std::vector<std::string> names(CountPlaces<Class>(), "(not named)");
    const auto name = [&](std::size_t place, std::string_view text)
    {
        if (place < names.size())
            names[place] = text;
        else
            ADD_FAILURE() << text << " is at " << place << " of " << names.size();
    };
    (name(PlaceOf(Functions), NameOf<Functions>()), ...);
    if (kDestructors != 0 && first == 0)
        name(1, "destructor");

    const std::unique_ptr<char, decltype(&std::free)> title(
        abi::__cxa_demangle(typeid(Class).name(), nullptr, nullptr, nullptr), &std::free);
    out << title.get() << '\n';
    for (std::size_t place = first == 0 && kDestructors != 0 ? 1 : first; place < names.size(); ++place)
        out << '\t' << place - (kDestructors != 0 ? 1 : 0) << ' ' << names[place] << '\n';
}

// Protected functions that are part of the contract all the same.
struct Widget : gui::GuiWidget
{
    using GuiWidget::myLoad;
    using GuiWidget::mySave;
};

template <class Class>
constexpr auto kConstTypeString = static_cast<const char* (Class::*)() const>(&Class::GetTypeString);

void DescribeEngine(std::ostream& out)
{
    using C = CEntityComponent;
    using S = CEntityArray_SaveLoad_Base;
    using O = COcclusionAABBBase;
    using I = CInterfaceBase;
    using M = CInterfaceArrayManager;
    using R = CEntityComponentRepositoryBase;
    using T = ComponentTransform;
    Describe<BaseObject, void, &BaseObject::GetTypeString>(out);
    Describe<RefClass, BaseObject, &RefClass::Delete>(out);
    Describe<CEntity, RefClass>(out);
    Describe<C, BaseObject, kConstTypeString<C>, &C::GetProperty, &C::SetProperty, &C::FinalizeProperties,
             &C::SerializerSave, &C::SerializerLoad, &C::Execute, &C::Copy, &C::i_OnEntityUnlockComponentList>(out);
    Describe<T, C, &T::SetTransform, &T::GetTransform>(out);
    Describe<ComponentTransformParent, T>(out);
    Describe<RuntimeData_Base, void>(out);
    Describe<R, BaseObject, &R::Find, &R::Set, &R::Remove>(out);
    Describe<CEntityComponentDatabase, BaseObject>(out);
    Describe<CEntityArray, RefClass>(out);
    Describe<CInterfaceCollection, RefClass>(out);
    Describe<I, RefClass, &I::GetTypeName, &I::GetType, &I::Cleanup, &I::Execute>(out);
    Describe<M, I, &M::AddEntity, &M::RemoveEntity, &M::ClearScene, &M::GetArray>(out);
    Describe<CInterfaceUpdateEvent, I>(out);
    Describe<CInterfaceCVX, I, &CInterfaceCVX::GetAuxRenderer, &CInterfaceCVX::RenderAuxToRenderQueue>(out);
    Describe<O, RefClass, &O::SetFrameData, &O::AddBoundingBox, &O::RemoveBoundingBox, &O::UpdateBoundingBox,
             &O::GetBoundingBoxCount, &O::GetBoundingBox, &O::DoOcclusion>(out);
    Describe<COcclusionAABBBruteforce, O>(out);
    Describe<COcclusionAABBOpenGLHierarchicalZ, O>(out);
    Describe<COcclusionAABBTree, O, &COcclusionAABBTree::SetBoundingBoxes>(out);
    Describe<COcclusionAABBSoftwareHierarchicalZ, O, &COcclusionAABBSoftwareHierarchicalZ::SetBoundingBoxes>(out);
    Describe<CAABBDynamicGridCell, void>(out);
    Describe<CAABBDynamicGrid, BaseObject>(out);
    Describe<S, void, &S::Save, &S::Load, &S::CreateEmpty, &S::ClearCache, &S::RemoveEntity, &S::Get,
             &S::GetEntityCount, &S::IterateOverEntities, &S::SetSceneAddition>(out);
}

void DescribeGui(std::ostream& out)
{
    using W = gui::GuiWidget;
    using L = gui::GuiLayout;
    using D = gui::Draw;
    using X = gui::GuiContext;
    using N = gui::GuiNodeListener;
    Describe<W, void, &W::GetType, &W::GetTypeString, &W::AdjustLayout, &W::OnUpdateLayout, &W::OnUpdateRect,
             &W::OnKeyPress, &W::OnKeyRelease, &W::OnMouseClick, &W::OnMouseRelease, &W::GetHoverWidget, &W::Tick,
             &W::Render, &W::RenderOverlay, &W::SetVisible, &W::SetLocked, &W::GetContainingRect, &Widget::mySave,
             &Widget::myLoad>(out);
    Describe<L, W, &L::GetChild, &L::GetChildCount, &L::AddChild, &L::RemoveChild, &L::OnClickBelow, &L::OnChildMoved>(
        out);
    Describe<gui::GuiLayoutSingle, L>(out);
    Describe<gui::GuiLayoutMulti, L>(out);
    Describe<gui::GuiFreeLayout, gui::GuiLayoutMulti>(out);
    Describe<gui::GuiClickable, W>(out);
    Describe<gui::GuiTrack, W>(out);
    Describe<gui::GuiItemWidget, W>(out);
    Describe<gui::GuiTextEdit, W>(out);
    Describe<gui::GuiTextReceiver, void, &gui::GuiTextReceiver::OnKeyChar>(out);
    Describe<gui::GuiTextColumns, void, &gui::GuiTextColumns::GetX, &gui::GuiTextColumns::FindColumn>(out);
    Describe<gui::GuiCallback, void, &gui::GuiCallback::OnGuiEvent>(out);
    Describe<N, void, &N::OnNodesMoved, &N::OnLinkAdded, &N::OnLinkRemoved, &N::OnNodesDeleted, &N::OnSelectionChanged>(
        out);
    Describe<X, void, &X::PushKeyPress, &X::PushKeyRelease, &X::PushMouseClick, &X::PushMouseRelease, &X::PushKeyChar,
             &X::SetMousePos, &X::GetMousePos, &X::IsKeyDown, &X::IsMouseDown, &X::GetModifiers, &X::GetClickCount,
             &X::IsKeyRepeated, &X::SetKeyRepeat, &X::SetClipboardAccess, &X::SetClipboard, &X::GetClipboard,
             &X::GetCursor, &X::GetHoverWidget, &X::GetFocusWidget, &X::GetInputWidget, &X::GrabInput, &X::GrabFocus,
             &X::MoveFocus, &X::SetModal, &X::GetModal, &X::ForgetWidget, &X::PostEvent, &X::Update, &X::Render,
             &X::GetRoot, &X::GetDraw, &X::GetStyleData, &X::SetStyleData, &X::GetLayoutCount, &X::GetRenderCount,
             &X::SetTicking, &X::SetOverlay, &X::RequestRedraw, &X::RequestPicture, &X::RenderWidget, &X::ReturnFocus>(
        out);
    Describe<gui::DrawPicture, void>(out);
    Describe<D, void, &D::Line, &D::FillRect, &D::FrameRect, &D::FillRoundRect, &D::FrameRoundRect, &D::FillTriangle,
             &D::Gradient, &D::DrawImage, &D::DrawNinePatch, &D::Text, &D::Text3D, &D::GetTextWidth, &D::GetLineHeight,
             &D::FindCharacter, &D::PushClip, &D::PopClip, &D::CreatePicture, &D::BeginPicture, &D::EndPicture,
             &D::BeginPiece, &D::EndPiece, &D::BeginReplace, &D::EndReplace, &D::AddPicture, &D::RenderAll>(out);
}

void DescribeBelow(std::ostream& out)
{
    using L = renderer::CInputListener;
    using C = CContext;
    Describe<tamra::log::Sink, void, &tamra::log::Sink::Write>(out);
    Describe<L, BaseObject, &L::OnKeyChar, &L::OnKeyDown, &L::OnKeyUp, &L::OnMouseDown, &L::OnMouseUp, &L::OnMouseMove,
             &L::GetPriority>(out);
    Describe<C, BaseObject, &C::MakeCurrent, &C::GetWidth, &C::GetHeight, &C::SwapBuffers>(out);
}

TEST(VirtualSlots, StayWhereOtherModulesCallThem)
{
    std::ostringstream now;
    DescribeEngine(now);
    DescribeGui(now);
    DescribeBelow(now);
    EXPECT_EQ(now.str(), test::ReadFile(TAMRA_SOURCE_FOLDER "/tests/gameengine/virtualSlots.txt"))
        << "The table of this build:\n"
        << now.str();
}
} // namespace
#endif
