// --script plays keys, waits and shots, writes the shots as PNG files and
// exits when it is done.

#include "emulator_process.h"

#include "gui/drawing/png_io.h"
#include "support/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(EmulatorScript, PlaysKeysWritesShotsAndExits)
{
    TempDir scratch;
    const auto script = scratch.file("tour.script");
    writeFile(script, "# the test plug-in starts by itself\n"
                      "settle 5000\n"
                      "shot before\n"
                      "key green\n"
                      "settle 2000\n"
                      "shot after\n");
    const std::string shots = (scratch.path() / "shots").string();
    const EmulatorExit exit = runEmulatorToExit({"--headless", "--root", (scratch.path() / "box").string(), "--listen",
                                                 "127.0.0.1:0", "--directory", unusedDirectory, "--plugin",
                                                 testPluginPath(), "--script", script.string(), "--shots", shots});
    ASSERT_EQ(exit.status, 0) << exit.errors;

    const auto before = loadPNG(shots + "/before.png");
    const auto after = loadPNG(shots + "/after.png");
    ASSERT_NE(before, nullptr);
    ASSERT_NE(after, nullptr);
    EXPECT_EQ(before->size(), eSize(720, 576));
    // The test plug-in's swatch (its window at 100,120; the swatch 340,10 in
    // it, 160x100) is grey at first and green after the green key.
    const ePoint swatchCentre(100 + 340 + 80, 120 + 10 + 50);
    EXPECT_EQ(before->colorAt(swatchCentre.x(), swatchCentre.y()), gRGB(128, 128, 128));
    EXPECT_EQ(after->colorAt(swatchCentre.x(), swatchCentre.y()), gRGB(0, 255, 0));
}

} // namespace
