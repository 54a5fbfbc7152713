#pragma once

namespace win {

/// Calls `function(argument)`. Returns true, or false if a fault of the processor or another structured exception ended
/// the call. What the function wrote through `argument` before the fault stays there, unless the compiler had moved
/// the write to a place after the faulting instruction. Only for small functions that own nothing, do not throw and
/// cannot overflow the stack: after a fault, no destructor of the function runs, and a stack that overflowed has lost
/// its guard page.
///
/// The guard is a structured exception handler in the frame of this call. So guards can be nested, and nothing outside
/// the call is affected. Vectored handlers and an attached debugger see the fault first. Any thread.
bool CallUnderFaultGuard(void (*function)(void*), void* argument) noexcept;

}  // namespace win
