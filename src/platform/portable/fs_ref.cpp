#include "platform/portable/fs_ref.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <mutex>

#include "platform/portable/result_codes.h"

namespace KVX::Platform {

namespace {

struct Contents {
    uint64_t mark;
    uint64_t serial;
    uint64_t device;
    uint64_t inode;
};
static_assert(sizeof(Contents) <= sizeof(FSRef), "an FSRef's size is published");

constexpr uint64_t kMark = 0x4653526566504F53;  // "FSRefPOS"

class PathTable {
  public:
    // Returns the serial number by which `path` is found for the time being.
    uint64_t Add(const std::string& path) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mPaths[mNextSerial % kFSRefsAlive] = path;
        return mNextSerial++;
    }

    bool Find(uint64_t serial, std::string& path) {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (serial >= mNextSerial || mNextSerial - serial > kFSRefsAlive) {
            return false;
        }
        path = mPaths[serial % kFSRefsAlive];
        return true;
    }

  private:
    std::mutex mMutex;
    std::array<std::string, kFSRefsAlive> mPaths;
    uint64_t mNextSerial = 0;
};

PathTable& GetPathTable() {
    // Never destroyed: threads may still be at work when the process's statics go.
    static PathTable* const table = new PathTable;
    return *table;
}

}  // namespace

bool MakeFSRef(const std::string& path, FSRef& ref) {
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return false;
    }
    const Contents contents = {kMark, GetPathTable().Add(path), status.st_dev, status.st_ino};
    ref = FSRef{};
    std::memcpy(ref.hidden, &contents, sizeof(contents));
    return true;
}

OSStatus ResolveFSRef(const FSRef& ref, std::string& path, struct stat& status) {
    Contents contents;
    std::memcpy(&contents, ref.hidden, sizeof(contents));
    if (contents.mark != kMark || !GetPathTable().Find(contents.serial, path)) {
        return errFSBadFSRef;
    }
    if (lstat(path.c_str(), &status) != 0) {
        return ResultCode(errno);
    }
    return status.st_dev == contents.device && status.st_ino == contents.inode ? noErr : fnfErr;
}

}  // namespace KVX::Platform
