#pragma once

#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace kvx_cli {

// Starts `count` threads that do `work`, or fewer where the system gives no more. Throws
// std::bad_alloc where it gives none.
std::vector<std::thread> StartThreads(size_t count, const std::function<void()>& work);

}  // namespace kvx_cli
