#include <filesystem>
#include <string>

#include "cli/commands/commands.h"
#include "cli/commands/glance.h"
#include "cli/commands/with_movie.h"
#include "cli/movie/streams.h"
#include "cli/output/complain.h"
#include "cli/output/output_file.h"
#include "cli/picture/contact_sheet.h"
#include "cli/picture/scale.h"

namespace kvx_cli {

namespace {

Problem Draw(const MovieAtWork& movie, Glance& glance, const SheetLayout& layout, int rows,
             Picture& sheet) {
    if (Problem problem = CheckPictures(glance.Video())) {
        return problem;
    }
    SheetContents contents;
    contents.title = std::filesystem::path(movie.path).filename().string();
    contents.facts = glance.Facts();
    contents.aspect = PixelAspectOf(*glance.Video());
    contents.frameWidth = glance.Video()->width;
    contents.frameHeight = glance.Video()->height;
    contents.sounds = glance.ReadSounds(SheetSoundColumns(layout), contents.notes);
    Problem problem = glance.BeginFrames(int64_t{layout.columns} * rows, contents.frameCount);
    if (problem) {
        return problem;
    }
    const SheetFrameSize size = FrameSizeOnSheet(contents, layout);
    contents.nextFrame = [&](SheetFrame& drawn) {
        Glance::Frame frame;
        Problem failure = glance.NextFrame(frame);
        drawn.caption = frame.caption;
        if (frame.isThere) {
            // Small at once, so that no whole frame is copied.
            drawn.picture = ScaledDown(frame.view, size.width, size.height);
        }
        return failure;
    };
    problem = DrawSheet(contents, layout, sheet);
    glance.EndFrames();
    return problem;
}

}  // namespace

int RunSheet(const Arguments& arguments) {
    const SheetLayout layout = {static_cast<int>(arguments.Number(OptionId::kWidth)),
                                static_cast<int>(arguments.Number(OptionId::kColumns))};
    if (const Problem problem = CheckLayout(layout)) {
        return Complain(problem.code, problem.words);
    }
    const auto rows = static_cast<int>(arguments.Number(OptionId::kRows));
    const PngSettings settings = {{}, static_cast<int>(arguments.Number(OptionId::kCompression))};
    WorkerPool pool(static_cast<size_t>(arguments.Number(OptionId::kThreads)));
    return WithMovies(arguments, [&](const MovieAtWork& movie) -> int {
        std::string place;
        Problem problem = FindOutput(arguments, movie, ".png", place);
        OutputFile file;
        if (!problem) {
            problem = file.Open(place, movie.inputs);
        }
        Glance glance(movie);
        Picture sheet;
        if (!problem) {
            problem = Draw(movie, glance, layout, rows, sheet);
        }
        if (!problem) {
            PngEncoding encoding(pool, RowsOf(sheet), settings);
            problem = encoding.WriteInto(file);
        }
        if (problem) {
            return Complain(movie.path, problem);
        }
        PrintDone(arguments, movie, place);
        return glance.Code();
    });
}

}  // namespace kvx_cli
