// With mingw-w64's compiler a DLL has the constants of an exported class only where something takes their address, and
// who uses the DLL wants them there as soon as he binds one to a reference. So each public one stands here.

#include "gameengine/engine/aabbDynamicGrid.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/entityComponentProperty.h"
#include "gameengine/engine/entityComponentRepository.h"
#include "gameengine/engine/interfaceCollection.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/tileset.h"
#include "gameengine/gui/guiConsole/guiConsole.h"
#include "gameengine/gui/guiInputAdapter.h"
#include "gameengine/gui/guiWidget/guiAutomation.h"
#include "gameengine/gui/guiWidget/guiItemRows.h"
#include "gameengine/gui/guiWidget/guiNodeGraph.h"
#include "gameengine/gui/guiWidget/guiSpinner.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiTextBuffer.h"
#include "gameengine/gui/guiWidget/guiWindow.h"

namespace
{
[[gnu::used]] const void* const kExportedConstants[] = {&CAABBDynamicGrid::kMaxCells,
                                                        &ComponentLight::kLightChanged,
                                                        &ComponentRuntimeData::kAlwaysVisible,
                                                        &ComponentRuntimeData::kBecameVisible,
                                                        &ComponentShadowCaster::kModeChanging,
                                                        &CEntityComponentProperty::kBufferSize,
                                                        &CEntityComponentRepositoryFast::kCapacity,
                                                        &CInterfaceCollection::kSlotCount,
                                                        &COcclusionAABBSoftwareHierarchicalZ::kMostPixels,
                                                        &COcclusionAABBSoftwareHierarchicalZ::kMostThreads,
                                                        &gui::FontBody::kNoGlyph,
                                                        &gui::Font::kBox,
                                                        &gui::Tileset::kMaxTiles,
                                                        &CGuiConsole::kMaxMessages,
                                                        &CGuiConsole::kBottomMessages,
                                                        &gui::GuiInputAdapter::kPriority,
                                                        &gui::GuiAutomation::kStep,
                                                        &gui::GuiItemRows::kTypingPause,
                                                        &gui::GuiNodeGraph::kMaxNodes,
                                                        &gui::GuiNodeGraph::kMaxPins,
                                                        &gui::GuiNodeGraph::kMaxName,
                                                        &gui::GuiNodeGraph::kMaxPosition,
                                                        &gui::GuiNodeGraph::kMinPercent,
                                                        &gui::GuiNodeGraph::kMaxPercent,
                                                        &gui::GuiNodeGraph::kTitleHeight,
                                                        &gui::GuiNodeGraph::kRowHeight,
                                                        &gui::GuiNodeGraph::kPinRadius,
                                                        &gui::GuiNodeGraph::kGrabRadius,
                                                        &gui::GuiSpinner::kMost,
                                                        &gui::GuiStream::kMaxDepth,
                                                        &gui::GuiStream::kMaxTabs,
                                                        &gui::GuiStream::kMaxWordLength,
                                                        &gui::GuiStream::kMaxNumberLength,
                                                        &gui::GuiTextBuffer::kMaxLength,
                                                        &gui::GuiTextBuffer::kMaxUndoBytes,
                                                        &gui::GuiWindow::kUsualFlags};
} // namespace
