#ifndef TARNWAVE_TESTS_INTEGRATION_MEDIA_MEDIA_TEST_MAIN_H
#define TARNWAVE_TESTS_INTEGRATION_MEDIA_MEDIA_TEST_MAIN_H

// The main function and the sanitizer settings of the media test programs;
// include it in exactly one source file of each. The sanitizer functions are
// only called in a sanitizer build.

#include "support/gstreamer_sanitizer_settings.h"

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    useMallocForGlibSlices(argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#endif
