#include "cli/movie/movie_files.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "cli/output/complain.h"

namespace kvx_cli {

namespace fs = std::filesystem;

namespace {

bool IsHidden(const fs::path& path) {
    return path.filename().native().front() == '.';
}

bool HasMovieExtension(const fs::path& path) {
    std::string extension = path.extension().native();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == ".mov" || extension == ".qt";
}

// A link that leads nowhere is a movie that is missing, and is reported.
bool MayBeMovie(const fs::directory_entry& entry) {
    std::error_code ignored;
    return HasMovieExtension(entry.path()) &&
           (entry.is_regular_file(ignored) ||
            (entry.is_symlink(ignored) && !entry.exists(ignored)));
}

std::string NameOf(const fs::path& path) {
    return (path.parent_path() / path.stem()).string();
}

// Of one that was named. "...mov" keeps its extension, without which it would be the folder above.
std::string NameOfNamed(const fs::path& path) {
    const fs::path stem = path.stem();
    return (stem == "." || stem == ".." ? path.filename() : stem).string();
}

// The folders that are still to be read lie on the heap, not on the stack, however deep they are.
class FolderWalk {
  public:
    FolderWalk(const std::string& root, MovieFiles& found) : mRoot(root), mFound(&found) {}

    void Run() {
        Read(mRoot);
        while (!mLeft.empty()) {
            const fs::directory_entry entry = std::move(mLeft.back());
            mLeft.pop_back();
            std::error_code ignored;
            if (!entry.is_symlink(ignored) && entry.is_directory(ignored)) {
                Read(entry.path());
            } else if (MayBeMovie(entry)) {
                mFound->files.push_back(
                    {entry.path().string(), NameOf(entry.path().lexically_relative(mRoot))});
            }
        }
    }

  private:
    void Read(const fs::path& folder) {
        std::vector<fs::directory_entry> entries;
        std::error_code error;
        for (fs::directory_iterator each(folder, error), end; !error && each != end;
             each.increment(error)) {
            if (!IsHidden(each->path())) {
                entries.push_back(*each);
            }
        }
        if (error) {
            Complain(kExitFailed, folder.string(), "cannot read the folder: " + error.message());
            mFound->code = kExitFailed;
        }
        // The last is taken first.
        std::sort(entries.begin(), entries.end(), [](const auto& one, const auto& other) {
            return one.path().native() > other.path().native();
        });
        std::move(entries.begin(), entries.end(), std::back_inserter(mLeft));
    }

    fs::path mRoot;
    MovieFiles* mFound;
    std::vector<fs::directory_entry> mLeft;
};

struct CloseList {
    void operator()(std::FILE* file) const {
        if (file != stdin) {
            std::fclose(file);
        }
    }
};

Problem CannotRead(const std::string& list) {
    return {kExitFailed, "cannot read " + list + ": " + std::strerror(errno != 0 ? errno : EIO)};
}

Problem ReadList(const std::string& place, char separator, std::vector<std::string>& names) {
    errno = 0;
    const std::unique_ptr<std::FILE, CloseList> file(place == "-" ? stdin
                                                                  : std::fopen(place.c_str(), "r"));
    const std::string list = place == "-" ? "standard input" : place;
    if (file == nullptr) {
        return CannotRead(list);
    }
    std::string name;
    const auto end = [&] {
        if (!name.empty()) {
            names.push_back(std::exchange(name, {}));
        }
    };
    for (int character = 0; (character = std::getc(file.get())) != EOF;) {
        if (character == separator) {
            end();
        } else {
            name += static_cast<char>(character);
        }
    }
    end();
    return std::ferror(file.get()) != 0 ? CannotRead(list) : Problem();
}

}  // namespace

MovieFiles FindMovies(const Arguments& arguments) {
    MovieFiles found;
    std::vector<std::string> names = arguments.Movies();
    if (arguments.Has(OptionId::kFilesFrom)) {
        found.problem = ReadList(arguments.Text(OptionId::kFilesFrom),
                                 arguments.Has(OptionId::kNull) ? '\0' : '\n', names);
    }
    const bool isRecursive = arguments.Has(OptionId::kRecursive);
    found.areMany = arguments.MayNameMany();
    for (const std::string& name : names) {
        std::error_code ignored;
        if (isRecursive && fs::is_directory(name, ignored)) {
            FolderWalk(name, found).Run();
        } else {
            found.files.push_back({name, NameOfNamed(name)});
        }
    }
    return found;
}

}  // namespace kvx_cli
