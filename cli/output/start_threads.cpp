#include "cli/output/start_threads.h"

#include <new>
#include <system_error>

namespace kvx_cli {

std::vector<std::thread> StartThreads(size_t count, const std::function<void()>& work) {
    std::vector<std::thread> threads;
    // So that nothing but a thread's own start can fail once there are some, which end with the
    // program if nobody joins them.
    threads.reserve(count);
    try {
        while (threads.size() < count) {
            threads.emplace_back(work);
        }
    } catch (const std::bad_alloc&) {
        if (threads.empty()) {
            throw;
        }
    } catch (const std::system_error&) {
        if (threads.empty()) {
            throw std::bad_alloc();
        }
    }
    return threads;
}

}  // namespace kvx_cli
