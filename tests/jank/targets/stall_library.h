#pragma once

/// Calls `next` from a module of its own.
extern "C" __declspec(dllexport) void StallInLibrary(void (*next)());

/// Prints where StallInLibrary lies.
extern "C" __declspec(dllexport) void DescribeLibrary();
