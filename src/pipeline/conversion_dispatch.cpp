#include "core/log.h"
#include "core/status.h"
#include "pipeline/import_frame.h"
#include "util/printer.h"

namespace KVX {

// Sends a frame whose layout is not the destination's to the converter of its source format.
long ImportFrame::ConvertPixels(const char*, long long) {
    Core::LogLine("Convert", __LINE__, "Invalid source data format for conversion: %s\n",
                  Util::Printer::PixelFormatPremiere(mSourceFormat));
    return Core::kStatusInvalid;
}

}  // namespace KVX
