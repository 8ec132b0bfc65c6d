// Where the things that the tests run and read are in the tree that they are built in.
#pragma once

namespace kvx_test {

extern const char kBuiltCommand[];  // kvx
extern const char kBuiltModule[];   // the one that kvx loads
extern const char kSilentModule[];
extern const char kFailingWrites[];
extern const char kMediaFolder[];
extern const char kGoldenFolder[];
extern const char kMakeMedia[];  // a command of the shell, which takes the folder

}  // namespace kvx_test
