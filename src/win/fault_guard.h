#pragma once

namespace win {

/// Calls `function(argument)` and returns true, or false when it was broken off by a fault of the processor or by any
/// other structured exception. What the function had stored through `argument` before the fault stands, as far as the
/// compiler had stored it by then. Only for small functions that own nothing, do not throw and cannot overflow the
/// stack: a function that is broken off is left without its destructors having run, and a stack without its guard page.
///
/// The guard is a structured exception handler in this call's own frame, so guards nest, each thread has its own, and
/// nothing outside the call is affected. Vectored handlers and an attached debugger see the fault first. Any thread.
bool CallUnderFaultGuard(void (*function)(void*), void* argument) noexcept;

}  // namespace win
