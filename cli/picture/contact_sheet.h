// One picture of a whole movie: frames with their times, and the sound underneath.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/picture/picture.h"
#include "cli/picture/png_file.h"
#include "cli/sound/waveform.h"

namespace kvx_cli {

struct SheetFrame {
    Picture picture;  // of 8 bits
    std::string caption;
};

struct SheetContents {
    std::string title;
    std::string facts;
    PixelAspect aspect;
    int frameWidth = 1;  // in pixels, of every frame
    int frameHeight = 1;
    int frameCount = 0;
    // Gives the frames one after the other, each drawn before the next is asked for. Answers what
    // went wrong, or nothing.
    std::function<std::string(SheetFrame& frame)> nextFrame;
    std::vector<Waveform> sounds;  // as many columns as SheetSoundColumns() tells
};

struct SheetLayout {
    int width = 1600;  // of the sheet
    int columns = 4;   // of frames
};

// How many stretches a waveform has on such a sheet.
int SheetSoundColumns(const SheetLayout& layout);

// Draws the sheet into a PNG file. Answers what went wrong, or nothing.
std::string DrawSheet(const std::string& path, const SheetContents& contents,
                      const SheetLayout& layout);

// The frames that stand for `count` frames when there is room for `room`: in the middles of equal
// stretches, so that neither the black at the start nor that at the end is among them.
std::vector<int64_t> SpreadFrames(int64_t count, int64_t room);

}  // namespace kvx_cli
