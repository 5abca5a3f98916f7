#pragma once

#include <cstddef>
#include <string_view>

#include <GL/glew.h>

namespace renderer
{
/// Throws away the errors that the device has noted so far, so that the next one is the caller's.
void ClearDeviceErrors();
/// Makes room in the buffer; its content is undefined afterwards. False when there is no memory.
bool AllocateBuffer(GLuint buffer, std::size_t size, GLenum usage);
/// One line: what could not be made, and why.
void LogDeviceFailure(std::string_view what, std::string_view why);

/// Logs what the context's driver has to say from now on.
void EnableDeviceMessages();

/// While one lives, messages about too little memory are not logged: whoever asked for it says so himself.
class CExpectOutOfMemory
{
public:
    CExpectOutOfMemory();
    CExpectOutOfMemory(const CExpectOutOfMemory&) = delete;
    CExpectOutOfMemory& operator=(const CExpectOutOfMemory&) = delete;
    /// True when the device had too little memory meanwhile, or noted any other error.
    bool HasFailed() const;
    ~CExpectOutOfMemory();
};
} // namespace renderer
