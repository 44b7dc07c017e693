// Without windows a message box is printed.
#include "support/shown.h"

#include <gtest/gtest.h>

std::string ShownBy( const std::function<void()>& aBody )
{
    testing::internal::CaptureStderr();
    aBody();
    return testing::internal::GetCapturedStderr();
}
