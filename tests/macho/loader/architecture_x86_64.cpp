#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "macho/loader/architecture.h"
#include "macho/loader/dwarf_writer.h"
#include "macho/loader/load_error.h"

// Saves what a call may change: the registers of arguments and all vector registers.
__asm__(R"(
    .text
    .globl  macho_thread_local_thunk
    .hidden macho_thread_local_thunk
    .type   macho_thread_local_thunk, @function
macho_thread_local_thunk:
    .cfi_startproc
    pushq   %rbp
    .cfi_def_cfa_offset 16
    .cfi_offset %rbp, -16
    movq    %rsp, %rbp
    .cfi_def_cfa_register %rbp
    subq    $320, %rsp
    andq    $-16, %rsp
    movq    %rdi, 256(%rsp)
    movq    %rsi, 264(%rsp)
    movq    %rdx, 272(%rsp)
    movq    %rcx, 280(%rsp)
    movq    %r8,  288(%rsp)
    movq    %r9,  296(%rsp)
    movq    %r10, 304(%rsp)
    movq    %r11, 312(%rsp)
    movaps  %xmm0,    (%rsp)
    movaps  %xmm1,  16(%rsp)
    movaps  %xmm2,  32(%rsp)
    movaps  %xmm3,  48(%rsp)
    movaps  %xmm4,  64(%rsp)
    movaps  %xmm5,  80(%rsp)
    movaps  %xmm6,  96(%rsp)
    movaps  %xmm7, 112(%rsp)
    movaps  %xmm8, 128(%rsp)
    movaps  %xmm9, 144(%rsp)
    movaps  %xmm10, 160(%rsp)
    movaps  %xmm11, 176(%rsp)
    movaps  %xmm12, 192(%rsp)
    movaps  %xmm13, 208(%rsp)
    movaps  %xmm14, 224(%rsp)
    movaps  %xmm15, 240(%rsp)
    call    macho_thread_local_address
    movaps     (%rsp), %xmm0
    movaps   16(%rsp), %xmm1
    movaps   32(%rsp), %xmm2
    movaps   48(%rsp), %xmm3
    movaps   64(%rsp), %xmm4
    movaps   80(%rsp), %xmm5
    movaps   96(%rsp), %xmm6
    movaps  112(%rsp), %xmm7
    movaps  128(%rsp), %xmm8
    movaps  144(%rsp), %xmm9
    movaps  160(%rsp), %xmm10
    movaps  176(%rsp), %xmm11
    movaps  192(%rsp), %xmm12
    movaps  208(%rsp), %xmm13
    movaps  224(%rsp), %xmm14
    movaps  240(%rsp), %xmm15
    movq    256(%rsp), %rdi
    movq    264(%rsp), %rsi
    movq    272(%rsp), %rdx
    movq    280(%rsp), %rcx
    movq    288(%rsp), %r8
    movq    296(%rsp), %r9
    movq    304(%rsp), %r10
    movq    312(%rsp), %r11
    leave
    .cfi_def_cfa %rsp, 8
    ret
    .cfi_endproc
    .size   macho_thread_local_thunk, . - macho_thread_local_thunk
)");

namespace macho {

namespace {

constexpr unsigned kRbx = 3;
constexpr unsigned kRbp = 6;
constexpr unsigned kRsp = 7;

// The registers that a compact encoding numbers from 1.
constexpr std::array<unsigned, 7> kSavedRegisters = {0, kRbx, 12, 13, 14, 15, kRbp};
constexpr unsigned kMaximumSaved = 6;
constexpr uint64_t kWord = 8;

enum Mode : uint32_t {
    kFrame = 0x01000000,
    kFramelessImmediate = 0x02000000,
    kFramelessIndirect = 0x03000000,
    kDwarf = 0x04000000,
    kModeMask = 0x0F000000,
};

unsigned SavedRegister(unsigned number) {
    if (number == 0 || number >= kSavedRegisters.size()) {
        throw LoadError("saves an unknown register");
    }
    return kSavedRegisters[number];
}

// With a frame pointer: up to five registers at a distance below it, three bits for each.
void WithFramePointer(uint32_t encoding, DwarfWriter& writer) {
    const uint32_t distance = (encoding >> 16) & 0xFF;
    const uint32_t registers = encoding & 0x7FFF;
    writer.FrameAddress(kRbp, 2 * kWord);
    writer.RegisterSaved(kRbp, 2);
    for (unsigned index = 0; index < 5; ++index) {
        const unsigned number = (registers >> (3 * index)) & 7;
        if (number != 0) {
            writer.RegisterSaved(SavedRegister(number), 2 + distance - index);
        }
    }
}

// Which `count` registers were pushed, and in which order, is one number: each place names one of
// the registers that no place before it has taken.
std::array<unsigned, kMaximumSaved> SavedInOrder(unsigned count, uint32_t permutation) {
    std::array<unsigned, kMaximumSaved> order = {};
    std::array<bool, kMaximumSaved + 1> taken = {};
    for (unsigned place = 0; place < count; ++place) {
        uint32_t weight = 1;  // in how many ways the places behind this one can be filled
        for (unsigned later = place + 1; later < count; ++later) {
            weight *= kMaximumSaved - later;
        }
        uint32_t skip = permutation / weight;
        permutation %= weight;
        unsigned number = 1;
        while (number <= kMaximumSaved && (taken[number] || skip-- != 0)) {
            ++number;
        }
        if (number > kMaximumSaved) {
            throw LoadError("saves registers in an impossible order");
        }
        taken[number] = true;
        order[place] = number;
    }
    return order;
}

void WithoutFramePointer(uint32_t encoding, const unsigned char* code, DwarfWriter& writer) {
    const uint32_t size = (encoding >> 16) & 0xFF;
    const uint32_t adjustment = (encoding >> 13) & 7;
    const uint32_t count = (encoding >> 10) & 7;
    uint64_t stack = size * kWord;
    if ((encoding & kModeMask) == kFramelessIndirect) {
        // The size stands in the instruction that makes the room.
        uint32_t room = 0;
        std::memcpy(&room, code + size, sizeof room);
        stack = room + adjustment * kWord;
    }
    if (count > kMaximumSaved) {
        throw LoadError("saves too many registers");
    }
    writer.FrameAddress(kRsp, stack);
    const auto order = SavedInOrder(count, encoding & 0x3FF);
    for (unsigned index = 0; index < count; ++index) {
        writer.RegisterSaved(SavedRegister(order[index]), 1 + count - index);
    }
}

}  // namespace

void WriteImportStub(unsigned char* place, char* mark, const void* target, unsigned) {
    const auto append = [&place](std::initializer_list<unsigned char> bytes) {
        place = std::copy(bytes.begin(), bytes.end(), place);
    };
    const auto address = [&place](const void* value) {
        std::memcpy(place, &value, sizeof value);
        place += sizeof value;
    };
    append({0x49, 0xBB});  // movabs $mark, %r11
    address(mark);
    append({0x41, 0x80, 0x3B, '+'});  // cmpb $'+', (%r11)
    append({0x74, 0x04});             // je over the next
    append({0x41, 0xC6, 0x03, '+'});  // movb $'+', (%r11)
    append({0x49, 0xBB});             // movabs $target, %r11
    address(target);
    append({0x41, 0xFF, 0xE3});  // jmp *%r11
}

std::vector<uint8_t> InitialFrameInstructions() {
    DwarfWriter writer;
    writer.FrameAddress(kRsp, kWord);
    writer.RegisterSaved(kReturnAddressColumn, 1);
    return writer.Bytes();
}

bool LeadsToDwarf(uint32_t encoding, uint32_t& offset) {
    offset = encoding & 0x00FFFFFF;
    return (encoding & kModeMask) == kDwarf;
}

std::vector<uint8_t> FrameInstructions(uint32_t encoding, const unsigned char* code) {
    DwarfWriter writer;
    switch (encoding & kModeMask) {
        case kFrame:
            WithFramePointer(encoding, writer);
            break;
        case kFramelessImmediate:
        case kFramelessIndirect:
            WithoutFramePointer(encoding, code, writer);
            break;
        default:
            throw LoadError("has an unknown compact unwind encoding " + std::to_string(encoding));
    }
    return writer.Bytes();
}

}  // namespace macho
