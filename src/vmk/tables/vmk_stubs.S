/* The four exported stubs of every array function. A stub loads the address of its exported
 * table from the GOT (so it sees the table the process actually uses, even after a copy
 * relocation into an executable) and jumps through the slot. No argument register is touched:
 * r11 is the scratch register of the calling convention. */
#include "hpk/vmk_functions.h"

#define CAT_(a, b) a##b
#define CAT(a, b) CAT_(a, b)
#define SFX_LA_s _21
#define SFX_LA_c _21
#define SFX_LA_d _50
#define SFX_LA_z _50
#define SFX_EP_s _11
#define SFX_EP_c _11
#define SFX_EP_d _26
#define SFX_EP_z _26

#define STUB(name, table, slot)                  \
  .globl name; .type name, @function; .p2align 4; \
  name: movq table@GOTPCREL(%rip), %r11;          \
  jmp *(8 * slot)(%r11);                          \
  .size name, . - name;

#define STUBS(t, Fn, shape, k0, k1, k2, c0, c1, c2)                       \
  STUB(CAT(_vmk##t##Fn, SFX_LA_##t), hpk_vmk_kernel_##t##Fn##_ttab, 0)     \
  STUB(_vmk##t##Fn##_HA, hpk_vmk_kernel_##t##Fn##_ttab, 1)                 \
  STUB(_vmk##t##Fn, hpk_vmk_kernel_##t##Fn##_ttab, 1)                      \
  STUB(CAT(_vmk##t##Fn, SFX_EP_##t), hpk_vmk_kernel_##t##Fn##_ttab, 2)

  .text
HPK_VMK_FUNCTION_LIST(STUBS)

  .section .note.GNU-stack, "", @progbits
