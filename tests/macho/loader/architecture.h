// What differs from processor to processor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "macho/loader/format.h"

namespace macho {

#if defined(__x86_64__)
constexpr uint32_t kCpuType = kCpuX86_64;
constexpr size_t kImportStubSize = 40;

// The number in DWARF of the register that stands for the return address.
constexpr unsigned kReturnAddressColumn = 16;
#elif defined(__aarch64__)
constexpr uint32_t kCpuType = kCpuArm64;
constexpr size_t kImportStubSize = 56;
constexpr unsigned kReturnAddressColumn = 30;
#else
#error "the loader knows no images for this processor"
#endif

// ---- Imports ------------------------------------------------------------------------------------

// Writes code that stores '+' at `mark` and goes on at `target`. It leaves every register alone
// that can carry an argument: a caller with a variable number of them says in one how many are
// where. Of a function with more arguments than `named`, if that is not 0, MoreArguments become the
// next argument.
void WriteImportStub(unsigned char* place, char* mark, const void* target, unsigned named);

// ---- Thread-local variables ---------------------------------------------------------------------

// Answers ThreadLocalAddress of its argument. Code that asks for a variable's address counts on
// every other register to stay as it is.
extern "C" void* macho_thread_local_thunk(ThreadLocalDescriptor* variable);

// ---- Unwinding ----------------------------------------------------------------------------------

// The unit in which all frame descriptions count the places of registers.
constexpr int kDataAlignment = -8;

// The state at a function's first instruction, as DWARF call frame instructions.
std::vector<uint8_t> InitialFrameInstructions();

// Whether a compact encoding says no more than that the DWARF entry at `offset` in __eh_frame
// holds.
bool LeadsToDwarf(uint32_t encoding, uint32_t& offset);

// How to leave the body of the function at `code`, as DWARF call frame instructions.
std::vector<uint8_t> FrameInstructions(uint32_t encoding, const unsigned char* code);

}  // namespace macho
