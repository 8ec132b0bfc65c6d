#pragma once

namespace kvx_test {

// While it lives, one allocation of this thread by operator new throws std::bad_alloc: the one with
// this number, counted from 0. Programs have it that are linked with failing_new.cpp.
class FailingNew {
  public:
    explicit FailingNew(int number);
    ~FailingNew();

    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    // Whether it has come to that.
    static bool HasFailed();
};

}  // namespace kvx_test
