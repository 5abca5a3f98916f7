#pragma once

#include "tools/sceneTools/sceneFile.h"

#include <string>

/// Writes the entities of a file, in its order and with their data as they are, into another one, in the format of its
/// extension. A database of that name must not be there yet. False, with one log line, when that fails, when a
/// serialized file would be too large, and for a database when the place of an entity is not known: it has components
/// of types that are not registered, and no other transform. Then what was written is of no use.
bool CopyEntities(CSceneFile& from, const std::string& path);
