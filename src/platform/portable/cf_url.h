#pragma once

#include <string>
#include <utility>

#include "platform/core_foundation.h"
#include "platform/portable/cf_object.h"

struct __CFURL final : KVX::Platform::CFObject {
    explicit __CFURL(std::string path) : mPath(std::move(path)) {}

    // Absolute, or empty; ends in a slash if the URL is a folder's.
    const std::string mPath;
};
