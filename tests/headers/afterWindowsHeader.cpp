// Compiles when no public header stumbles over what <windows.h> defines. The macros of other compilers' versions of it
// come after the standard library, which knows how to live with the real ones.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <regex>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#undef near
#undef far
#undef min
#undef max
#undef small
#undef interface
#define near
#define far
#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
#define small char
#define interface struct

#include <publicHeaders.h>
