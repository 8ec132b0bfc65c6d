// Text for log lines.
//
// A printer takes a value and returns a text that is to be used at once, in one log line. It is
// never freed and never kept: names are constants, and all other texts lie in the calling thread's
// ring (core/per_thread_buffer.h), of which a line of several texts takes several pieces. Printers
// may be called from any thread and do not fail: without memory they return kMemoryErrorString,
// unless noted otherwise.
//
// The second argument is read by UTF16 alone. All printers have it, so that they are of one kind.
#pragma once

#include "premiere/matte_colour.h"

namespace KVX::Util::Printer {

extern const char* kUnknownString;
extern const char* kMemoryErrorString;

// Any value, in decimal, in hexadecimal and as four characters. Without memory kUnknownString. This
// is what each printer below returns for a value that it has no name for.
const char* Unknown(long value);

// A four-character code in single quotes, or a number below 0x10000 as it is.
const char* Fcc(int value, int = 0);

// A version in one word: the high byte, a dot, the low byte.
const char* FixedShort(unsigned short value, int = 0);

const char* MatteColour(matteColRec colour, int = 0);

// Each string of `list` in double quotes. The list is a run of terminated strings ended by an empty
// one; what goes beyond 1023 characters is cut off.
const char* StringList(const char* list, int = 0);

// `length` units in double quotes, "?" for all that ASCII lacks, up to 1021 characters. A null
// `text` gives "<NULL>".
const char* UTF16(const unsigned short* text, int length = 0);

// The name of a bundle from its path: the last part of the path, up to the first ".bundle" in it.
// Without memory all of the last part.
const char* BundleName(const char* path);

// The codes of sample descriptions, first character in the most significant byte.
const char* PixelFormat(long value, int = 0);

// Those, and the host's PrPixelFormat values, which have the first character in the least
// significant byte.
const char* PixelFormatPremiere(long value, int = 0);

// Names of bits are joined by " | "; no bit gives "0".
namespace FileImport {
const char* Selector(long value, int = 0);
const char* Error(long value, int = 0);
const char* Capability(long bits, int = 0);
}  // namespace FileImport

namespace AsyncImport {
const char* Selector(long value, int = 0);
const char* Error(long value, int = 0);
}  // namespace AsyncImport

namespace Playback {
const char* Selector(long value, int = 0);
const char* Error(long value, int = 0);
const char* Version(long value, int = 0);
const char* Capability(long bits, int = 0);
}  // namespace Playback

const char* PlayMode(long value, int = 0);
const char* PlayCode(long value, int = 0);
const char* PlayFlags(long bits, int = 0);
const char* DisplayMode(long value, int = 0);
const char* ActivationEvent(long value, int = 0);
const char* RenderFrameState(long value, int = 0);
const char* FrameDestination(long bits, int = 0);
const char* VideoDisplayType(long value, int = 0);

namespace Device {
const char* Selector(long value, int = 0);
const char* Error(long value, int = 0);
}  // namespace Device

const char* DeviceCommand(short value, int = 0);
const char* DeviceMode(short value, int = 0);
const char* DeviceFeatures(long bits, int = 0);

// Frames a second in 16.16 fixed point.
const char* FrameRate(long value, int = 0);
const char* FieldType(long value, int = 0);
const char* AlphaType(long value, int = 0);
const char* RenderQuality(long value, int = 0);
const char* AudioSampleType(long value, int = 0);
const char* AudioChannelType(long value, int = 0);
const char* AudioAccessMode(long value, int = 0);
const char* OpenFileAccessMode(long value, int = 0);

// Display modes, four-character codes; the second has only those of the public interface.
const char* Mode(long value, int = 0);
const char* KVXAPIDisplayMode(long value, int = 0);

}  // namespace KVX::Util::Printer
