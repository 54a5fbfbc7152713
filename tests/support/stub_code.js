'use strict';
// The machine code of the stubs of scripted_system.js. On the right is the source, on the left are its bytes. To change
// it, write ".intel_syntax noprefix" and "NAME = . + OFFSET" for each field above the right side, and let
// "x86_64-w64-mingw32-as -al" print the left side.

/** A stub's fields: their offsets from its start. Each has eight bytes, behind the code. */
exports.field = Object.fromEntries(['count', 'first', 'last', 'value', 'error', 'late', 'event', 'real', 'wait', 'held',
  'refused'].map((name, index) => [name, 160 + 8 * index]));
exports.size = 256;

// "late" calls the real function with its arguments in registers only: it has four at most.
const listing = `
                                  # hold(): wait for the event
  48833DC800000000742D                cmp qword ptr event[rip], 0; je 1f
  F0FF05D7000000                      lock inc dword ptr held[rip]
  5152415041514883EC28                push rcx; push rdx; push r8; push r9; sub rsp, 0x28
  488B0DAE000000BAFFFFFFFF            mov rcx, event[rip]; mov edx, -1
  FF15B3000000                        call wait[rip]
  4883C428415941585A59                add rsp, 0x28; pop r9; pop r8; pop rdx; pop rcx
                                  # count(): is this a call that shall fail?
  B801000000F00FC1055C000000FFC0  1:  mov eax, 1; lock xadd count[rip], eax; inc eax
  3B055C0000007208                    cmp eax, first[rip]; jb 2f
  3B055C0000007606                    cmp eax, last[rip]; jbe 3f
  FF257C000000                    2:  jmp real[rip]
                                  # fail(): the real call if it is late, then the last error and the value
  4883EC28                        3:  sub rsp, 0x28
  833D61000000007408                  cmp dword ptr late[rip], 0; je 4f
  FF1569000000EB07                    call real[rip]; jmp 5f
  F0FF0578000000                  4:  lock inc dword ptr refused[rip]
  4883C428                        5:  add rsp, 0x28
  65488B042530000000                  mov rax, gs:[0x30]      # the thread environment block
  8B0D35000000894868                  mov ecx, error[rip]; mov [rax + 0x68], ecx
  488B0523000000C3                    mov rax, value[rip]; ret
`;
exports.code = Buffer.from([...listing.matchAll(/^ +([0-9A-F]+) /gm)].map(([, bytes]) => bytes).join(''), 'hex');
