#include "win/fault_guard.h"

#include <windows.h>

#if defined(_MSC_VER) || defined(__clang__)

static int BorvantaCallUnderFaultGuard(void (*function)(void*), void* argument) {
  __try {
    function(argument);
    return 1;
  } __except (EXCEPTION_EXECUTE_HANDLER) {
    return 0;
  }
}

#else

// GCC has no __try, but its assembler can describe the same thing. The exceptions of this frame go to the C library's
// handler, __C_specific_handler. The handler's table has one entry: after any exception between .LguardBegin and
// .LguardEnd, continue at .LguardFaulted. So the system itself unwinds the stack, as it does for __try. A jump out of a
// vectored handler would be worse: Windows would go on treating its list of handlers as in use, and a processor with
// shadow stacks would refuse the jump.
extern "C" int BorvantaCallUnderFaultGuard(void (*function)(void*), void* argument) noexcept;

asm(R"(
	.text
	.p2align 4
	.globl BorvantaCallUnderFaultGuard
	.def BorvantaCallUnderFaultGuard; .scl 2; .type 32; .endef
	.seh_proc BorvantaCallUnderFaultGuard
BorvantaCallUnderFaultGuard:
	subq $40, %rsp
	.seh_stackalloc 40
	.seh_endprologue
	movq %rcx, %rax
	movq %rdx, %rcx
.LguardBegin:
	call *%rax
	nop
.LguardEnd:
	movl $1, %eax
	addq $40, %rsp
	ret
.LguardFaulted:
	xorl %eax, %eax
	addq $40, %rsp
	ret
	.seh_handler __C_specific_handler, @except
	.seh_handlerdata
	.long 1
	.rva .LguardBegin, .LguardEnd
	.long 1
	.rva .LguardFaulted
	.text
	.seh_endproc
)");

#endif

namespace win {

bool CallUnderFaultGuard(void (*function)(void*), void* argument) noexcept {
  return BorvantaCallUnderFaultGuard(function, argument) != 0;
}

}  // namespace win
