// For a test that takes the place of a function of the importer. The build leads the program's
// calls of A::B, from all files but the one that defines it, to the test's function:
//
//     kvx_replace_calls(kvx_tests A::B)
//
//     extern "C" {
//     kvx_test::CalledLike<&A::B> kvx_true_B;        // the importer's own
//     kvx_test::CalledLike<&A::B> kvx_instead_of_B;  // for the test to define
//     }
//
// Parameters that are not those of A::B do not compile.
#pragma once

namespace kvx_test {

template <typename Function>
struct FreeFunction;

// An object is passed to a member function as its first argument is to a free one.
template <typename Result, typename Class, typename... Arguments>
struct FreeFunction<Result (Class::*)(Arguments...)> {
    using Type = Result(Class*, Arguments...);
};

template <typename Result, typename... Arguments>
struct FreeFunction<Result (*)(Arguments...)> {
    using Type = Result(Arguments...);
};

template <auto kFunction>
using CalledLike = typename FreeFunction<decltype(kFunction)>::Type;

}  // namespace kvx_test
