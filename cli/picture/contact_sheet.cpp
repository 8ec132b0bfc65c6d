#include "cli/picture/contact_sheet.h"

#include <cairo.h>
#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "cli/output/utf8.h"

namespace kvx_cli {

namespace {

constexpr double kMargin = 32;
constexpr double kGap = 16;
constexpr double kTitleSize = 26;
constexpr double kFactsSize = 16;
constexpr double kCaptionSize = 14;
constexpr double kTitleHeight = 46;
constexpr double kFactsHeight = 26;  // of each line
constexpr double kLeastCellWidth = 40;
constexpr double kCaptionHeight = 26;
constexpr double kLaneHeight = 64;
constexpr double kSoundGap = 24;
constexpr const char* kFont = "DejaVu Sans";

struct Colour {
    double red;
    double green;
    double blue;
};

constexpr Colour kBackground = {0.09, 0.09, 0.10};
constexpr Colour kLane = {0.13, 0.13, 0.15};
constexpr Colour kLine = {0.25, 0.25, 0.28};
constexpr Colour kText = {0.93, 0.93, 0.93};
constexpr Colour kDimText = {0.62, 0.62, 0.65};
constexpr Colour kBad = {0.80, 0.36, 0.33};
constexpr Colour kWave = {0.36, 0.72, 0.66};

struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroy>;
using Context = std::unique_ptr<cairo_t, Destroy>;

void SetColour(cairo_t* context, const Colour& colour) {
    cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
}

void SetFont(cairo_t* context, double size) {
    cairo_select_font_face(context, kFont, CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context, size);
}

double TextWidth(cairo_t* context, double size, const std::string& text) {
    cairo_text_extents_t extents;
    SetFont(context, size);
    cairo_text_extents(context, text.c_str(), &extents);
    return extents.x_advance;
}

// Shortened to `width`, with an ellipsis in place of what has no room.
std::string Elided(cairo_t* context, double size, const std::string& text, double width) {
    if (TextWidth(context, size, text) <= width) {
        return text;
    }
    std::string start = text;
    std::string shown;
    do {
        // A whole character, of however many bytes.
        while (!start.empty() && (static_cast<unsigned char>(start.back()) & 0xC0) == 0x80) {
            start.pop_back();
        }
        if (!start.empty()) {
            start.pop_back();
        }
        shown = start + "\u2026";
    } while (!start.empty() && TextWidth(context, size, shown) > width);
    return shown;
}

// cairo draws nothing of a text that is not UTF-8, nor anything after it: each byte that belongs to
// no character is shown as a question mark.
std::string Drawable(const std::string& text) {
    std::string drawable;
    for (size_t index = 0; index < text.size();) {
        const Utf8Character character = Utf8CharacterAt(text, index);
        const bool isDrawn = character.length != 0 && character.number >= 0x20;
        const size_t length = isDrawn ? character.length : 1;
        drawable += isDrawn ? text.substr(index, length) : "?";
        index += length;
    }
    return drawable;
}

void DrawText(cairo_t* context, double x, double baseline, double size, const Colour& colour,
              const std::string& text, double width) {
    SetFont(context, size);
    SetColour(context, colour);
    cairo_move_to(context, x, baseline);
    cairo_show_text(context, Elided(context, size, Drawable(text), width).c_str());
}

// The facts in as many lines as they take; one that is longer than a line is elided later.
std::vector<std::string> Lines(const std::vector<std::string>& facts, double width) {
    const char* const gap = "    ";
    const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1));
    const Context context(cairo_create(surface.get()));
    std::vector<std::string> lines;
    for (const std::string& fact : facts) {
        const std::string longer = lines.empty() ? fact : lines.back() + gap + fact;
        if (!lines.empty() && TextWidth(context.get(), kFactsSize, longer) <= width) {
            lines.back() = longer;
        } else {
            lines.push_back(fact);
        }
    }
    return lines;
}

// A row of 32-bit words 0x00RRGGBB in the machine's order.
Surface SurfaceOf(const Picture& picture) {
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height));
    unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
    if (pixels == nullptr) {
        return surface;
    }
    cairo_surface_flush(surface.get());
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
    const uint8_t* component = picture.bytes.data();
    for (size_t y = 0; y < static_cast<size_t>(picture.height); ++y) {
        for (size_t x = 0; x < static_cast<size_t>(picture.width); ++x, component += 3) {
            const uint32_t word = static_cast<uint32_t>(component[0]) << 16 |
                                  static_cast<uint32_t>(component[1]) << 8 | component[2];
            std::memcpy(pixels + y * stride + x * sizeof(word), &word, sizeof(word));
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

// Fonts are found once for a process and kept until it ends; a process that goes on gets the memory
// back. Declare before everything of cairo's.
class Fonts {
  public:
    Fonts() = default;
    ~Fonts() {
        cairo_debug_reset_static_data();
        FcFini();
    }

    Fonts(const Fonts&) = delete;
    Fonts& operator=(const Fonts&) = delete;
};

Picture PictureOf(cairo_surface_t* surface) {
    cairo_surface_flush(surface);
    Picture picture;
    picture.width = cairo_image_surface_get_width(surface);
    picture.height = cairo_image_surface_get_height(surface);
    const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface));
    const unsigned char* const pixels = cairo_image_surface_get_data(surface);
    for (size_t y = 0; y < static_cast<size_t>(picture.height); ++y) {
        for (size_t x = 0; x < static_cast<size_t>(picture.width); ++x) {
            uint32_t word;
            std::memcpy(&word, pixels + y * stride + x * sizeof(word), sizeof(word));
            for (const int shift : {16, 8, 0}) {
                picture.bytes.push_back(static_cast<uint8_t>(word >> shift));
            }
        }
    }
    return picture;
}

// Where everything is.
class Plan {
  public:
    Plan(const SheetContents& contents, const SheetLayout& layout)
        : mColumns(layout.columns), mWidth(layout.width) {
        mCellWidth = CellWidthOf(layout);
        mFacts = Lines(contents.facts, TextRoom());
        mCellHeight = std::round(mCellWidth * contents.frameHeight * contents.aspect.height /
                                 (double{1} * contents.frameWidth * contents.aspect.width));
        mRows = (contents.frameCount + mColumns - 1) / mColumns;
    }

    static double CellWidthOf(const SheetLayout& layout) {
        return (layout.width - 2 * kMargin - (layout.columns - 1) * kGap) / layout.columns;
    }
    double TextRoom() const { return mWidth - 2 * kMargin; }
    const std::vector<std::string>& Facts() const { return mFacts; }

    double CellWidth() const { return mCellWidth; }
    double CellHeight() const { return mCellHeight; }
    double CellX(int frame) const { return kMargin + frame % mColumns * (mCellWidth + kGap); }
    double CellY(int frame) const {
        const int row = frame / mColumns;
        return kMargin + kTitleHeight + static_cast<double>(mFacts.size()) * kFactsHeight +
               row * (mCellHeight + kCaptionHeight + kGap);
    }
    double SoundY(int lane) const { return FramesEnd() + kSoundGap + lane * (kLaneHeight + 4); }
    double NoteY(int lanes, size_t note) const {
        return (lanes > 0 ? SoundY(lanes) : FramesEnd()) +
               static_cast<double>(note) * kCaptionHeight;
    }
    // More than any picture has where it leaves what can be counted.
    int Height(int lanes, size_t notes) const {
        const double height = std::ceil(NoteY(lanes, notes) + kMargin - kGap);
        return static_cast<int>(std::clamp(height, 0.0, 1e9));
    }

  private:
    double FramesEnd() const { return CellY(mRows * mColumns); }

    int mColumns;
    int mWidth;
    std::vector<std::string> mFacts;  // lines
    int mRows = 0;
    double mCellWidth = 0;
    double mCellHeight = 0;
};

// A frame that is not available: crossed out.
void DrawMissing(cairo_t* context, double x, double y, double width, double height) {
    SetColour(context, kLane);
    cairo_rectangle(context, x, y, width, height);
    cairo_fill(context);
    SetColour(context, kBad);
    cairo_set_line_width(context, 2);
    cairo_rectangle(context, x + 1, y + 1, std::max(width - 2, 0.0), std::max(height - 2, 0.0));
    cairo_move_to(context, x, y);
    cairo_line_to(context, x + width, y + height);
    cairo_move_to(context, x + width, y);
    cairo_line_to(context, x, y + height);
    cairo_stroke(context);
}

void DrawFrame(cairo_t* context, const Plan& plan, int number, const SheetFrame& frame) {
    const double x = plan.CellX(number);
    const double y = plan.CellY(number);
    const bool isMissing = frame.picture.width == 0;
    DrawText(context, x, y + plan.CellHeight() + kCaptionSize + 5, kCaptionSize,
             isMissing ? kBad : kDimText, frame.caption, plan.CellWidth());
    if (isMissing) {
        DrawMissing(context, x, y, plan.CellWidth(), plan.CellHeight());
        return;
    }
    const Surface picture = SurfaceOf(frame.picture);
    cairo_save(context);
    cairo_rectangle(context, x, y, plan.CellWidth(), plan.CellHeight());
    cairo_clip(context);
    cairo_translate(context, x, y);
    cairo_scale(context, plan.CellWidth() / frame.picture.width,
                plan.CellHeight() / frame.picture.height);
    cairo_set_source_surface(context, picture.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_GOOD);
    cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
    cairo_paint(context);
    cairo_restore(context);
}

void DrawLane(cairo_t* context, double y, const std::vector<SampleRange>& columns) {
    const auto width = static_cast<double>(columns.size());
    const double middle = std::floor(y + kLaneHeight / 2) + 0.5;
    const double half = kLaneHeight / 2 - 2;
    SetColour(context, kLane);
    cairo_rectangle(context, kMargin, y, width, kLaneHeight);
    cairo_fill(context);
    cairo_set_line_width(context, 1);
    SetColour(context, kLine);
    cairo_move_to(context, kMargin, middle);
    cairo_line_to(context, kMargin + width, middle);
    cairo_stroke(context);
    SetColour(context, kWave);
    for (size_t column = 0; column < columns.size(); ++column) {
        const double low = std::clamp(double{columns[column].low}, -1.0, 1.0);
        const double high = std::clamp(double{columns[column].high}, -1.0, 1.0);
        if (low <= high) {
            const double x = kMargin + static_cast<double>(column) + 0.5;
            cairo_move_to(context, x, middle - high * half - 0.5);
            cairo_line_to(context, x, middle - low * half + 0.5);
        }
    }
    cairo_stroke(context);
}

}  // namespace

SheetFrameSize FrameSizeOnSheet(const SheetContents& contents, const SheetLayout& layout) {
    const Plan plan(contents, layout);
    const auto atMost = [](double size, int whole) {
        return std::clamp(static_cast<int>(std::min(std::ceil(size), 1e9)), 1, whole);
    };
    return {atMost(plan.CellWidth(), contents.frameWidth),
            atMost(plan.CellHeight(), contents.frameHeight)};
}

int SheetSoundColumns(const SheetLayout& layout) {
    return layout.width - static_cast<int>(2 * kMargin);
}

std::vector<int64_t> SpreadFrames(int64_t count, int64_t room) {
    const int64_t frames = std::min(count, room);
    std::vector<int64_t> spread;
    for (int64_t number = 0; number < frames; ++number) {
        // (number + 1/2) / frames of the way, without a product that overflows.
        const int64_t whole = count / frames;
        const int64_t rest = count % frames;
        spread.push_back(number * whole + whole / 2 + number * rest / frames);
    }
    return spread;
}

Problem CheckLayout(const SheetLayout& layout) {
    if (Plan::CellWidthOf(layout) >= kLeastCellWidth) {
        return {};
    }
    const auto most =
        static_cast<int>((layout.width - 2 * kMargin + kGap) / (kLeastCellWidth + kGap));
    return {kExitUsage, "there is no room for " + std::to_string(layout.columns) +
                            " columns in a width of " + std::to_string(layout.width) +
                            " pixels: " + std::to_string(most) + " is the most"};
}

Problem DrawSheet(const SheetContents& contents, const SheetLayout& layout, Picture& picture) {
    const Fonts fonts;
    const Plan plan(contents, layout);
    int lanes = 0;
    for (const Waveform& sound : contents.sounds) {
        lanes += sound.Channels();
    }
    const int height = plan.Height(lanes, contents.notes.size());
    const Surface sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24, layout.width, height));
    if (cairo_surface_status(sheet.get()) != CAIRO_STATUS_SUCCESS) {
        return {kExitRefused, "cannot draw a sheet of " + std::to_string(layout.width) + " x " +
                                  std::to_string(height) + " pixels"};
    }
    const Context context(cairo_create(sheet.get()));
    SetColour(context.get(), kBackground);
    cairo_paint(context.get());
    double baseline = kMargin + kTitleSize;
    DrawText(context.get(), kMargin, baseline, kTitleSize, kText, contents.title, plan.TextRoom());
    for (const std::string& line : plan.Facts()) {
        baseline += kFactsHeight;
        DrawText(context.get(), kMargin, baseline, kFactsSize, kDimText, line, plan.TextRoom());
    }
    for (int number = 0; number < contents.frameCount; ++number) {
        SheetFrame frame;
        if (Problem problem = contents.nextFrame(frame)) {
            return problem;
        }
        DrawFrame(context.get(), plan, number, frame);
    }
    int lane = 0;
    for (const Waveform& sound : contents.sounds) {
        for (int channel = 0; channel < sound.Channels(); ++channel) {
            DrawLane(context.get(), plan.SoundY(lane++), sound.Columns(channel));
        }
    }
    for (size_t note = 0; note < contents.notes.size(); ++note) {
        DrawText(context.get(), kMargin, plan.NoteY(lanes, note) + kCaptionSize + 5, kCaptionSize,
                 kBad, contents.notes[note], plan.TextRoom());
    }
    picture = PictureOf(sheet.get());
    return {};
}

}  // namespace kvx_cli
