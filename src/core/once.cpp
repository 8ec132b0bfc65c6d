#include "core/once.h"

#include "core/log.h"

namespace KVX::Core {

Once::Once(void (*function)()) : mFunction(function), mOnce(PTHREAD_ONCE_INIT) {}

long Once::Call() {
    const long status = pthread_once(&mOnce, mFunction);
    Failed(status, "pthread_once");
    return status;
}

}  // namespace KVX::Core
