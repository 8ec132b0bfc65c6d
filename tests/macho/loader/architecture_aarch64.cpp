#include <array>
#include <cstring>
#include <string>

#include "macho/loader/architecture.h"
#include "macho/loader/dwarf_writer.h"
#include "macho/loader/load_error.h"

// Saves what a call may change: the registers of arguments and all vector registers, whole.
__asm__(R"(
    .text
    .globl  macho_thread_local_thunk
    .hidden macho_thread_local_thunk
    .type   macho_thread_local_thunk, %function
macho_thread_local_thunk:
    .cfi_startproc
    stp     x29, x30, [sp, #-160]!
    .cfi_def_cfa_offset 160
    .cfi_offset x29, -160
    .cfi_offset x30, -152
    mov     x29, sp
    .cfi_def_cfa_register x29
    stp     x1,  x2,  [sp, #16]
    stp     x3,  x4,  [sp, #32]
    stp     x5,  x6,  [sp, #48]
    stp     x7,  x8,  [sp, #64]
    stp     x9,  x10, [sp, #80]
    stp     x11, x12, [sp, #96]
    stp     x13, x14, [sp, #112]
    stp     x15, x16, [sp, #128]
    stp     x17, x18, [sp, #144]
    sub     sp, sp, #512
    stp     q0,  q1,  [sp]
    stp     q2,  q3,  [sp, #32]
    stp     q4,  q5,  [sp, #64]
    stp     q6,  q7,  [sp, #96]
    stp     q8,  q9,  [sp, #128]
    stp     q10, q11, [sp, #160]
    stp     q12, q13, [sp, #192]
    stp     q14, q15, [sp, #224]
    stp     q16, q17, [sp, #256]
    stp     q18, q19, [sp, #288]
    stp     q20, q21, [sp, #320]
    stp     q22, q23, [sp, #352]
    stp     q24, q25, [sp, #384]
    stp     q26, q27, [sp, #416]
    stp     q28, q29, [sp, #448]
    stp     q30, q31, [sp, #480]
    bl      macho_thread_local_address
    ldp     q0,  q1,  [sp]
    ldp     q2,  q3,  [sp, #32]
    ldp     q4,  q5,  [sp, #64]
    ldp     q6,  q7,  [sp, #96]
    ldp     q8,  q9,  [sp, #128]
    ldp     q10, q11, [sp, #160]
    ldp     q12, q13, [sp, #192]
    ldp     q14, q15, [sp, #224]
    ldp     q16, q17, [sp, #256]
    ldp     q18, q19, [sp, #288]
    ldp     q20, q21, [sp, #320]
    ldp     q22, q23, [sp, #352]
    ldp     q24, q25, [sp, #384]
    ldp     q26, q27, [sp, #416]
    ldp     q28, q29, [sp, #448]
    ldp     q30, q31, [sp, #480]
    add     sp, sp, #512
    ldp     x1,  x2,  [sp, #16]
    ldp     x3,  x4,  [sp, #32]
    ldp     x5,  x6,  [sp, #48]
    ldp     x7,  x8,  [sp, #64]
    ldp     x9,  x10, [sp, #80]
    ldp     x11, x12, [sp, #96]
    ldp     x13, x14, [sp, #112]
    ldp     x15, x16, [sp, #128]
    ldp     x17, x18, [sp, #144]
    ldp     x29, x30, [sp], #160
    .cfi_def_cfa sp, 0
    ret
    .cfi_endproc
    .size   macho_thread_local_thunk, . - macho_thread_local_thunk
)");

namespace macho {

namespace {

constexpr unsigned kX19 = 19;
constexpr unsigned kFramePointer = 29;
constexpr unsigned kLink = 30;
constexpr unsigned kStackPointer = 31;
constexpr unsigned kD8 = 72;
constexpr uint64_t kWord = 8;

enum Mode : uint32_t {
    kFrameless = 0x02000000,
    kDwarf = 0x03000000,
    kFrame = 0x04000000,
    kModeMask = 0x0F000000,
};

// A pair of neighbouring registers and the bit that says that it is saved.
struct Pair {
    uint32_t bit;
    unsigned first;
};
constexpr std::array<Pair, 9> kPairs = {{
    {0x001, kX19},
    {0x002, kX19 + 2},
    {0x004, kX19 + 4},
    {0x008, kX19 + 6},
    {0x010, kX19 + 8},
    {0x100, kD8},
    {0x200, kD8 + 2},
    {0x400, kD8 + 4},
    {0x800, kD8 + 6},
}};

// One below the other, from `slot` words below the frame address.
void SavedPairs(uint32_t encoding, uint64_t slot, DwarfWriter& writer) {
    for (const Pair& pair : kPairs) {
        if ((encoding & pair.bit) != 0) {
            writer.RegisterSaved(pair.first, slot++);
            writer.RegisterSaved(pair.first + 1, slot++);
        }
    }
}

}  // namespace

// The registers between calls are x16 and x17.
void WriteImportStub(unsigned char* place, char* mark, const void* target, unsigned named) {
    constexpr uint32_t kNothing = 0xD503201F;
    // The rest of the arguments is on the stack: mov x<named>, sp.
    const uint32_t handOver = named == 0 ? kNothing : 0x910003E0 | named;
    const std::array<uint32_t, 10> code = {
        handOver,
        0x58000130,  // ldr x16, mark
        0x39400211,  // ldrb w17, [x16]
        0x7100AE3F,  // cmp w17, #'+'
        0x54000060,  // b.eq over the next two
        0x52800571,  // mov w17, #'+'
        0x39000211,  // strb w17, [x16]
        0x580000B0,  // ldr x16, target
        0xD61F0200,  // br x16
        kNothing,
    };
    std::memcpy(place, code.data(), sizeof code);
    std::memcpy(place + sizeof code, &mark, sizeof mark);
    std::memcpy(place + sizeof code + sizeof mark, &target, sizeof target);
    static_assert(sizeof code + sizeof mark + sizeof target == kImportStubSize);
}

// The return address is in its register.
std::vector<uint8_t> InitialFrameInstructions() {
    DwarfWriter writer;
    writer.FrameAddress(kStackPointer, 0);
    return writer.Bytes();
}

bool LeadsToDwarf(uint32_t encoding, uint32_t& offset) {
    offset = encoding & 0x00FFFFFF;
    return (encoding & kModeMask) == kDwarf;
}

std::vector<uint8_t> FrameInstructions(uint32_t encoding, const unsigned char*) {
    DwarfWriter writer;
    switch (encoding & kModeMask) {
        case kFrame:
            writer.FrameAddress(kFramePointer, 2 * kWord);
            writer.RegisterSaved(kLink, 1);
            writer.RegisterSaved(kFramePointer, 2);
            SavedPairs(encoding, 3, writer);
            break;
        case kFrameless:
            // The size in units of 16 bytes.
            writer.FrameAddress(kStackPointer, ((encoding >> 12) & 0xFFF) * 2 * kWord);
            SavedPairs(encoding, 1, writer);
            break;
        default:
            throw LoadError("has an unknown compact unwind encoding " + std::to_string(encoding));
    }
    return writer.Bytes();
}

}  // namespace macho
