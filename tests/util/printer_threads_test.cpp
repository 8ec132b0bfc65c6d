// Printers on many threads at once: each thread has its own texts, and several of them in one line.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "support/leak_scope.h"
#include "util/printer.h"

namespace Printer = KVX::Util::Printer;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 500;

// Runs `work` with the number of each thread, from the same moment on.
template <typename Work>
void OnEightThreads(Work work) {
    std::atomic<int> waiting = kThreads;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([number, &work, &waiting] {
            --waiting;
            while (waiting != 0) {
                std::this_thread::yield();
            }
            work(number);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

// A line of one thread's printers, and the same line by hand. `value` has no zero byte.
struct Line {
    std::string printed;
    std::string expected;
};

Line LineOfFormatters(int value) {
    char printed[512];
    char expected[512];
    const unsigned char low = static_cast<unsigned char>(value);
    const unsigned char high = static_cast<unsigned char>(value >> 8);
    const int code = 0x41420000 + value;
    const std::string name = "Name" + std::to_string(value);
    const std::string list = "a" + std::to_string(value) + '\0' + "b" + '\0';
    std::snprintf(printed, sizeof(printed), "%s %s %s %s %s %s", Printer::Fcc(value),
                  Printer::Fcc(code), Printer::FixedShort(static_cast<unsigned short>(value)),
                  Printer::MatteColour({high, low, 1}), Printer::Unknown(code),
                  Printer::BundleName(("/a/" + name + ".bundle").c_str()));
    std::snprintf(expected, sizeof(expected),
                  "0x%x (%d) 'AB%c%c' %d.%d r%x:b%x:g1 Unknown (%d, 0x%08x, 'AB%c%c') %s", value,
                  value, high, low, high, low, high, low, code, code, high, low, name.c_str());
    Line line = {printed, expected};
    line.printed += Printer::StringList(list.c_str());
    line.expected += "\"a" + std::to_string(value) + "\" \"b\"";
    return line;
}

Line LineOfNames(int value) {
    const int code = 0x41420000 + value;
    char printed[512];
    char expected[512];
    std::snprintf(printed, sizeof(printed), "%s %s %s", Printer::FileImport::Selector(37),
                  Printer::PixelFormatPremiere(code), Printer::FileImport::Capability(0x8008));
    const char low = static_cast<char>(value);
    const char high = static_cast<char>(value >> 8);
    std::snprintf(expected, sizeof(expected),
                  "imGetInfo8 Unknown (%d, 0x%08x, 'AB%c%c') xfCanOpen | xfIsMovie", code, code,
                  high, low);
    return {printed, expected};
}

TEST(PrinterThreads, EightThreadsPrintAtOnce) {
    std::atomic<int> wrong = 0;
    OnEightThreads([&wrong](int number) {
        for (int round = 0; round < kRounds; ++round) {
            // Two bytes that are never zero.
            const int value = (0x21 + number) << 8 | (1 + round % 0x7E);
            for (const Line& line : {LineOfFormatters(value), LineOfNames(value)}) {
                wrong += line.printed != line.expected ? 1 : 0;
            }
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(PrinterThreads, HostTextOnEightThreads) {
    std::atomic<int> wrong = 0;
    OnEightThreads([&wrong](int number) {
        const kvx_test::LeakScope leaks;
        const unsigned short text[] = {'t', static_cast<unsigned short>('0' + number), 0x4E2D};
        const std::string expected = "\"t" + std::to_string(number) + "?\"";
        for (int round = 0; round < 50; ++round) {
            wrong += Printer::UTF16(text, 3) != expected ? 1 : 0;
        }
    });
    EXPECT_EQ(wrong, 0);
}

// A thread's texts stay as they are while other threads' rings go round and round.
TEST(PrinterThreads, TextsOfAThreadOutliveTheOthersRings) {
    std::atomic<int> wrong = 0;
    OnEightThreads([&wrong](int number) {
        std::vector<const char*> kept;
        for (int index = 0; index < 64; ++index) {
            kept.push_back(Printer::Fcc(number * 64 + index));
        }
        std::this_thread::yield();
        for (int index = 0; index < 64; ++index) {
            char expected[32];
            const int value = number * 64 + index;
            std::snprintf(expected, sizeof(expected), "0x%x (%d)", static_cast<unsigned int>(value),
                          value);
            wrong += std::string(kept[static_cast<size_t>(index)]) != expected ? 1 : 0;
        }
    });
    EXPECT_EQ(wrong, 0);
}

}  // namespace
