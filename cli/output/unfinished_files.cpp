#include "cli/output/unfinished_files.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace kvx_cli {

namespace {

// Held while a file is made or put into place, and by the thread that ends the program, from the
// removal on: no file is made unnoticed.
struct Unfinished {
    std::mutex lock;
    std::vector<std::string> names;
};

// Never destroyed: the thread that waits for signals outlives everything.
Unfinished& All() {
    static auto* const all = new Unfinished;
    return *all;
}

constexpr size_t kLongestName = 255;
constexpr int kMostTries = 100;

std::string TemporaryName(const std::string& place, std::random_device& random) {
    static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::string suffix = ".kvx-";
    for (int i = 0; i < 6; ++i) {
        suffix += kLetters[random() % (sizeof kLetters - 1)];
    }
    const size_t slash = place.rfind('/');
    const size_t start = slash == std::string::npos ? 0 : slash + 1;
    const std::string name = place.substr(start, kLongestName - 1 - suffix.size());
    return place.substr(0, start) + "." + name + suffix;
}

// Renames to a name that no file has. Where the file system has no links, another program's file of
// that name, made in this moment, would be replaced.
bool RenameToNothing(const std::string& from, const std::string& to) {
    if (link(from.c_str(), to.c_str()) == 0) {
        return unlink(from.c_str()) == 0;
    }
    struct stat ignored;
    if (errno == EEXIST || lstat(to.c_str(), &ignored) == 0) {
        errno = EEXIST;
        return false;
    }
    return std::rename(from.c_str(), to.c_str()) == 0;
}

void WaitForSignals(sigset_t signals) {
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
    EndAtOnce(128 + signal);
}

}  // namespace

void EndTidilyOnSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            sigaddset(&signals, signal);
        }
    }
    if (pthread_sigmask(SIG_BLOCK, &signals, nullptr) == 0) {
        std::thread(WaitForSignals, signals).detach();
    }
}

void EndAtOnce(int exitCode) {
    // Never released: a thread that waits for it is too late.
    All().lock.lock();
    for (const std::string& name : All().names) {
        unlink(name.c_str());
    }
    _exit(exitCode);
}

UnfinishedFile::~UnfinishedFile() {
    Remove();
}

int UnfinishedFile::Create(const std::string& place, mode_t mode) {
    mPlace = place;
    std::random_device random;
    const std::lock_guard<std::mutex> guard(All().lock);
    for (int i = 0; i < kMostTries; ++i) {
        const std::string name = TemporaryName(place, random);
        const int descriptor = open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor != -1) {
            fchmod(descriptor, mode);
            mName = name;
            All().names.push_back(name);
            return descriptor;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return -1;
}

bool UnfinishedFile::PutIntoPlace(bool mayReplace) {
    const std::lock_guard<std::mutex> guard(All().lock);
    if (!(mayReplace ? std::rename(mName.c_str(), mPlace.c_str()) == 0
                     : RenameToNothing(mName, mPlace))) {
        return false;
    }
    std::vector<std::string>& names = All().names;
    names.erase(std::remove(names.begin(), names.end(), mName), names.end());
    mName.clear();
    return true;
}

void UnfinishedFile::Remove() {
    if (mName.empty()) {
        return;
    }
    const std::lock_guard<std::mutex> guard(All().lock);
    unlink(mName.c_str());
    std::vector<std::string>& names = All().names;
    names.erase(std::remove(names.begin(), names.end(), mName), names.end());
    mName.clear();
}

}  // namespace kvx_cli
