// 5.1 in its orders.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "end_to_end/module_under_test.h"
#include "end_to_end/movie_checks.h"
#include "hostkit/clip.h"
#include "support/log_capture.h"

namespace {

using kvx_test::ExpectSameInAll;
using kvx_test::ReadRealMovie;

TEST(EndToEndLayouts, EachOrderReachesItsPlanes) {
    ExpectSameInAll(ReadRealMovie("layouts/A.mov"), kvx_test::kPlanesOfA);
    ExpectSameInAll(ReadRealMovie("layouts/B.mov"), kvx_test::kPlanesOfB);
    ExpectSameInAll(ReadRealMovie("layouts/C.mov"), kvx_test::kPlanesOfC);
    ExpectSameInAll(ReadRealMovie("layouts/D.mov"), kvx_test::kPlanesOfD);
}

TEST(EndToEndLayouts, SixChannelsWithoutLayoutAreInOrderA) {
    ExpectSameInAll(ReadRealMovie("layouts/unnamed.mov"), kvx_test::kPlanesOfA);
}

TEST(EndToEndLayouts, FourChannelsOpenAndAreNotDelivered) {
    const kvx_test::RealMovie movie = ReadRealMovie("odd/four-channels.mov");
    kvx_test::ExpectSameInfo(movie);
    kvx_hostkit::Clip clip(kvx_test::ModuleUnderTest(), movie.path);
    ASSERT_EQ(clip.Open(), imNoErr);
    std::vector<float> plane(100);
    std::vector<float*> planes(4, plane.data());
    const kvx_test::LogCapture log;
    EXPECT_EQ(clip.ReadAudio(0, 0, 100, planes.data()), 22);
    EXPECT_EQ(log.Text(), "WriteSamples: 4 channel audio not supported\n");
}

}  // namespace
