#pragma once

#include "tools/sceneTools/osmImport.h"
#include "tools/sceneTools/sceneInspect.h"

#include <string>

// New scene files out of other files. A file that is there already is replaced in one step and only when `force` is
// set; when anything fails it stays as it was. Failures are logged with one line.

/// Writes a scene file, in the format of the name's extension, of the entities of a scene, in the
/// order in which they were made.
bool WriteSceneFile(const std::string& path, CInterfaceCollection* scene, bool force);

/// Loads a scene file of either format into a scene.
bool LoadSceneFile(const std::string& path, CInterfaceCollection* scene);

/// Writes the entities of `from` with all of their data, also that of components of unknown types, in the format of the
/// extension of `to`. Refused when there are problems, see `CheckScene`.
bool ConvertScene(const std::string& from, const std::string& to, bool force, const SceneProgress& progress = {});

/// Makes a scene file of an OpenStreetMap extract.
bool ImportOsmToFile(const std::string& pbfPath, const std::string& to, bool force, const OsmImportOptions& options,
                     OsmImportStatistics& statistics, const SceneProgress& progress = {});
