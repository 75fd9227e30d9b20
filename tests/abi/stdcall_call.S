/* Calls a __stdcall function with a stack of 32-bit words, at a chosen stack
 * alignment, and reports how far the stack pointer ended up from where it was
 * before the words were pushed (0 when the callee popped exactly its words).
 *
 * void qxtestCallStdcall(const void* function, const uint32_t* words,
 *                        uint32_t wordCount, uint32_t stackAdjust,
 *                        uint32_t resultKind, void* result, int32_t* drift)
 * stackAdjust: bytes taken off a 16-byte aligned stack before the pushes.
 * resultKind: 0 integer result (eax), else a float or double popped off
 * x87 and stored as a double.
 * cdecl; i386 only. */
    .text
    .globl qxtestCallStdcall
    .type qxtestCallStdcall, @function
qxtestCallStdcall:
    pushl %ebp
    movl %esp, %ebp
    pushl %ebx
    pushl %esi
    pushl %edi
    andl $-16, %esp
    subl 20(%ebp), %esp
    movl %esp, %edi          /* where the stack must be after the call */
    movl 12(%ebp), %esi
    movl 16(%ebp), %ecx
1:  testl %ecx, %ecx         /* push the words right to left */
    jz 2f
    decl %ecx
    pushl (%esi,%ecx,4)
    jmp 1b
2:  call *8(%ebp)
    movl %esp, %ecx
    subl %edi, %ecx
    movl 32(%ebp), %edx
    movl %ecx, (%edx)
    movl 24(%ebp), %ecx
    movl 28(%ebp), %edx
    testl %ecx, %ecx
    jz 3f
    fstpl (%edx)
    jmp 4f
3:  movl %eax, (%edx)
4:  leal -12(%ebp), %esp
    popl %edi
    popl %esi
    popl %ebx
    popl %ebp
    ret
    .size qxtestCallStdcall, .-qxtestCallStdcall
    .section .note.GNU-stack,"",@progbits
