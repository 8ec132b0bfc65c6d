// The one file of this program that is compiled with paths, so that the others can be compiled once
// for all trees.
#include "end_to_end/built_paths.h"

namespace kvx_test {

const char kBuiltCommand[] = KVX_COMMAND;
const char kBuiltModule[] = KVX_MODULE;
const char kSilentModule[] = KVX_SILENT_MODULE;
const char kFailingWrites[] = KVX_FAILING_WRITES;
const char kMediaFolder[] = KVX_MEDIA_DIR;
const char kGoldenFolder[] = KVX_GOLDEN_DIR;
const char kMakeMedia[] = "'" KVX_PYTHON "' '" KVX_MAKE_MEDIA "'";

}  // namespace kvx_test
