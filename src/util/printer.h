#pragma once

namespace KVX::Util::Printer {

extern const char* kUnknownString;
extern const char* kMemoryErrorString;

const char* Unknown(long value);
const char* Fcc(int value, int = 0);
const char* PixelFormat(long value, int = 0);
const char* PixelFormatPremiere(long value, int = 0);

}  // namespace KVX::Util::Printer
