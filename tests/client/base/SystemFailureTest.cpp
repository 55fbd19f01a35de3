#include "client/base/SystemFailure.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <string>

using testing::EndsWith;
using testing::StartsWith;

TEST(SessionSystemFailure, SystemsTextAndNumberAreTold)
{
    // The text is the system's own, and has no line end here.
    const std::wstring known = SystemFailure(L"it", ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(known, StartsWith(L"it: "));
    EXPECT_THAT(known, EndsWith(L" (error 2)"));
    EXPECT_EQ(std::wstring::npos, known.find_first_of(L"\r\n"));
    EXPECT_EQ(L"it: the system has no text for it (error 305419896)", SystemFailure(L"it", 0x12345678));
}
