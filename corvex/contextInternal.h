#pragma once

// A thread can have a context of one kind only current: EGL and GLX refuse to take it over from each other. So the one
// that becomes current asks the other kind to let go first. Nothing happens where none is current.

void ReleaseOffscreenContext();
void ReleaseWindowContext();
