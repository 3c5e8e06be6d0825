#ifndef CHRONEX_COMMON_VECTOR_REGISTERS_H
#define CHRONEX_COMMON_VECTOR_REGISTERS_H

// Sets the processor's vector registers to zero, in their full width. Nothing
// else overwrites them reliably: a copied key stays in a register until the
// next copy happens to use the same one, and a signal or a core file writes it
// to memory.
void clear_vector_registers() noexcept;

#endif  // CHRONEX_COMMON_VECTOR_REGISTERS_H
