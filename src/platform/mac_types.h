// The base types of the macOS interfaces, as MacTypes.h publishes them. To be included only where
// the system's own headers are missing.
#pragma once

using Boolean = unsigned char;
using UInt8 = unsigned char;
using UInt16 = unsigned short;
using UInt32 = unsigned int;
using SInt16 = short;
using SInt32 = int;
using UniChar = UInt16;
using OSErr = SInt16;
using OSStatus = SInt32;
using OptionBits = UInt32;
using Size = long;
using Ptr = char*;
using Handle = Ptr*;
