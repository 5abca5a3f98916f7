// [file-header]
#pragma once

#include <string>

constexpr int kBlocks = 60; ///< On each side of the town.
constexpr float kSpacing = 40.0F;
constexpr float kTownSize = kBlocks * kSpacing;

/// Makes the scene database of a town: blocks with lamps between them.
bool BuildTown(const std::string& path);
// [file-header end]
