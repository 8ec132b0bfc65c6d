// Every layout that a frame asks the row bytes of has some: the frame's call is led here, so that
// it can fail all the same.
#include <gtest/gtest.h>

#include "pipeline/frame_test.h"
#include "support/replaced_call.h"

namespace {

using KVX::ImportFrame;
using KVX::QT::VideoTrack;
using kvx_test::kPageUYVY;
using kvx_test::LogCapture;
using kvx_test::MovieOfPicture;
using kvx_test::Reference;

long sRowBytesStatus = 0;

}  // namespace

extern "C" {

kvx_test::CalledLike<&ImportFrame::GetUncompressedRowBytes> kvx_true_GetUncompressedRowBytes;
kvx_test::CalledLike<&ImportFrame::GetUncompressedRowBytes> kvx_instead_of_GetUncompressedRowBytes;

long kvx_instead_of_GetUncompressedRowBytes(VideoTrack* videoTrack, long& rowBytes) {
    return sRowBytesStatus != 0 ? sRowBytesStatus
                                : kvx_true_GetUncompressedRowBytes(videoTrack, rowBytes);
}
}

namespace {

class RowBytesFailure : public kvx_test::FrameTest {};

TEST_F(RowBytesFailure, RefusesTheFrameBeforeItsFileIsOpened) {
    OpenMovie(MovieOfPicture(kPageUYVY, 1));
    track->CloseFile();
    track->mFileDescriptor = 0;
    const Reference<ImportFrame> frame(NewFrame(PrPixelFormat_UYVY_422_8u_601));
    sRowBytesStatus = 45;
    LogCapture log;
    const long status = frame->Issue();
    sRowBytesStatus = 0;
    EXPECT_EQ(status, 45);
    EXPECT_EQ(log.Text(), "Issue: GetUncompressedRowBytes returned 45\n");
    EXPECT_EQ(frame->mRefCount, 1);
    EXPECT_EQ(track->mFileDescriptor, 0);
    EXPECT_EQ(buffers.CreatedCount(), 0);
}

}  // namespace
