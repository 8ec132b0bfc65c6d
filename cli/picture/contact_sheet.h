// One picture of a whole movie: frames with their times, and the sound underneath.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/output/exit_code.h"
#include "cli/picture/picture.h"
#include "cli/picture/png_file.h"
#include "cli/sound/waveform.h"

namespace kvx_cli {

struct SheetFrame {
    Picture picture;  // of 8 bits; empty: it is not available
    std::string caption;
};

struct SheetContents {
    std::string title;
    std::vector<std::string> facts;  // in as many lines as they take
    PixelAspect aspect;
    int frameWidth = 1;  // in pixels, of every frame
    int frameHeight = 1;
    int frameCount = 0;
    // Gives the frames one after the other, each drawn before the next is asked for. The sheet is
    // given up at a problem.
    std::function<Problem(SheetFrame& frame)> nextFrame;
    std::vector<Waveform> sounds;    // as many columns as SheetSoundColumns() says
    std::vector<std::string> notes;  // lines at the bottom
};

struct SheetLayout {
    int width = 1600;  // of the sheet
    int columns = 4;   // of frames
};

// The least size in pixels in which a frame of `contents` loses nothing on such a sheet.
struct SheetFrameSize {
    int width;
    int height;
};
SheetFrameSize FrameSizeOnSheet(const SheetContents& contents, const SheetLayout& layout);

// How many stretches a waveform has on such a sheet.
int SheetSoundColumns(const SheetLayout& layout);

// What is wrong with the layout: columns that leave frames no room.
Problem CheckLayout(const SheetLayout& layout);

// Draws the sheet.
Problem DrawSheet(const SheetContents& contents, const SheetLayout& layout, Picture& sheet);

// The frames that represent `count` frames when there is room for `room`: in the middles of equal
// stretches, so that neither the black at the start nor that at the end is among them.
std::vector<int64_t> SpreadFrames(int64_t count, int64_t room);

}  // namespace kvx_cli
