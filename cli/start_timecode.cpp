#include "cli/start_timecode.h"

#include <cstring>

#include "hostkit/record_block.h"

namespace kvx_cli {

std::string StartTimecode(const kvx_hostkit::Clip& clip) {
    kvx_hostkit::RecordBlock<imTimeInfoRec8> info;
    if (clip.GetTimeInfo(info.Get()) != imNoErr) {
        return {};
    }
    return {info->originalTime, strnlen(info->originalTime, sizeof(info->originalTime))};
}

}  // namespace kvx_cli
