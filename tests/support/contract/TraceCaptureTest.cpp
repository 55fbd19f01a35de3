#include "tests/support/contract/TraceCapture.h"

#include "OrvProfiler/foundation/Trace.h"

#include <gmock/gmock.h>
#include <stdexcept>

TEST(TraceCapture, SeesTheFullTextAndStripsTheTime)
{
    const TraceCapture capture;
    Trace(L"%6.0f %s \x20AC\n", 12.0, L"name");
    ASSERT_EQ(1U, capture.Raw().size());
    EXPECT_EQ(L"    12 name \x20AC\n", capture.Raw()[0]);
    EXPECT_EQ(L"name \x20AC\n", capture.Lines()[0]);
    EXPECT_THROW(WithoutTime(L"name \n"), std::runtime_error);
}
