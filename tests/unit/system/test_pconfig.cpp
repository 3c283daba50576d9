#include "system/pconfig.h"

#include <gtest/gtest.h>

TEST(PConfig, IsOneInstanceCreatedOnFirstUse)
{
    pConfig *config = pConfig::getInstance();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(pConfig::getInstance(), config);
}

TEST(PConfig, RecordingFlagStartsFalseAndKeepsWhatIsSet)
{
    pConfig *config = pConfig::getInstance();
    EXPECT_FALSE(config->isRecording());
    config->setRecording(true);
    EXPECT_TRUE(pConfig::getInstance()->isRecording());
    config->setRecording(false);
    EXPECT_FALSE(pConfig::getInstance()->isRecording());
}
