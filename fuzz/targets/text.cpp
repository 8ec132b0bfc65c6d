// Text in every form and both ways: what can be converted comes back as it was, and the rest is
// refused as a whole.
#include "util/text.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/support/byte_feed.h"
#include "fuzz/support/require.h"
#include "platform/core_foundation.h"
#include "tests/support/cf_owner.h"

using namespace kvx_fuzz;
using kvx_test::CFOwner;
namespace Text = KVX::Util::Text;

namespace {

template <typename Piece>
std::vector<Piece> Pieces(const std::string& bytes) {
    std::vector<Piece> pieces(bytes.size() / sizeof(Piece));
    for (size_t i = 0; i < pieces.size(); ++i) {
        std::memcpy(&pieces[i], bytes.data() + i * sizeof(Piece), sizeof(Piece));
    }
    return pieces;
}

// Into buffers of exactly the size that is named.
void GetBytes(CFStringRef string, ByteFeed& feed, CFStringEncoding encoding) {
    const CFIndex length = CFStringGetLength(string);
    const auto first = static_cast<CFIndex>(feed.Pick(0, length));
    const CFRange range = CFRangeMake(first, static_cast<CFIndex>(feed.Pick(0, length - first)));
    const auto lossByte = static_cast<UInt8>(feed.Pick(0, 1) * '?');

    CFIndex counted = 0;
    CFStringGetBytes(string, range, encoding, lossByte, false, nullptr, 0, &counted);
    Require(counted >= 0 && counted <= CFStringGetMaximumSizeForEncoding(length, encoding));
    const auto room = static_cast<size_t>(feed.Pick(0, counted));
    const std::unique_ptr<UInt8[]> buffer(new UInt8[room]);
    CFIndex used = 0;
    const CFIndex converted = CFStringGetBytes(string, range, encoding, lossByte, false,
                                               buffer.get(), static_cast<CFIndex>(room), &used);
    Require(converted >= 0 && converted <= range.length);
    Require(used >= 0 && used <= static_cast<CFIndex>(room));

    const std::unique_ptr<char[]> cString(new char[room]);
    if (CFStringGetCString(string, cString.get(), static_cast<CFIndex>(room), encoding)) {
        Require(std::memchr(cString.get(), '\0', room) != nullptr);
    }
    const std::unique_ptr<UniChar[]> units(new UniChar[static_cast<size_t>(range.length)]);
    CFStringGetCharacters(string, range, units.get());
}

void FromUtf8(const std::string& bytes, ByteFeed& feed) {
    const std::wstring wide = Text::utf8_to_wide(bytes.c_str());
    const std::string upToNul(bytes, 0, bytes.find('\0'));
    if (!wide.empty()) {
        Require(Text::wide_to_utf8(wide.data(), static_cast<int>(wide.size())) == upToNul);
    }
    // Two converters of different origin agree on what UTF-8 is.
    const CFOwner<CFStringRef> whole(CFStringCreateWithBytes(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(upToNul.data()),
        static_cast<CFIndex>(upToNul.size()), kCFStringEncodingUTF8, false));
    Require((whole.Get() != nullptr) == (!wide.empty() || upToNul.empty()));

    const CFStringRef made = Text::u2cf(bytes);
    if (made == nullptr) {
        return;
    }
    const CFOwner<CFStringRef> string(made);
    const std::string back = Text::cf2u(string.Get());
    Require(back == upToNul || back.empty());
    GetBytes(string.Get(), feed, kCFStringEncodingUTF8);
    GetBytes(string.Get(), feed, kCFStringEncodingASCII);
}

void FromUnits(const std::string& bytes, ByteFeed& feed) {
    const std::vector<UniChar> units = Pieces<UniChar>(bytes);
    const CFOwner<CFStringRef> string(CFStringCreateWithCharacters(
        kCFAllocatorDefault, units.data(), static_cast<CFIndex>(units.size())));
    Require(CFStringGetLength(string.Get()) == static_cast<CFIndex>(units.size()));
    Text::cf2u(string.Get());
    GetBytes(string.Get(), feed, kCFStringEncodingUTF8);

    const CFOwner<CFStringRef> wanted(CFStringCreateWithCharacters(
        kCFAllocatorDefault, units.data(), static_cast<CFIndex>(units.size() / 2)));
    const CFRange found = CFStringFind(string.Get(), wanted.Get(), 0);
    Require(units.size() < 2 ? found.location == kCFNotFound : found.location == 0);
}

void FromWide(const std::string& bytes) {
    const std::vector<wchar_t> wide = Pieces<wchar_t>(bytes);
    Text::wide_to_utf8(wide.data(), static_cast<int>(wide.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteFeed feed(data, size);
    const std::string choices = feed.Bytes(8);
    const std::string bytes = feed.Bytes(feed.Left());
    ByteFeed choice(reinterpret_cast<const uint8_t*>(choices.data()), choices.size());
    FromUtf8(bytes, choice);
    FromUnits(bytes, choice);
    FromWide(bytes);
    return 0;
}
