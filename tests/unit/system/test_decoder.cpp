#include "system/decoder.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>
#include <vector>

// Declared first, so that it sees the state the library starts with also when
// the whole program runs in one process.
TEST(DecoderAtStart, ShowsATvServiceWithSound)
{
    EXPECT_EQ(Decoder::parms.vpid, 0x0100);
    EXPECT_EQ(Decoder::parms.apid, 0x0101);
    EXPECT_EQ(Decoder::parms.mode, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
    EXPECT_EQ(Decoder::applied().apid, 0x0101);
}

namespace {

class DecoderTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Decoder::reset();
        connection = Decoder::pictureChanged().connect([this](TvPicture picture) { changes.push_back(picture); });
    }
    void TearDown() override
    {
        connection.disconnect();
        Decoder::reset();
    }

    void setPids(int vpid, int apid, int mode)
    {
        Decoder::parms.vpid = vpid;
        Decoder::parms.apid = apid;
        Decoder::parms.mode = mode;
        Decoder::Set();
    }

    std::vector<TvPicture> changes;
    SigC::Connection connection;
};

} // namespace

TEST_F(DecoderTest, ResetPutsBackTheTvServiceWithSound)
{
    setPids(0x0200, 8190, 3);
    Decoder::reset();
    EXPECT_EQ(Decoder::parms.vpid, 0x0100);
    EXPECT_EQ(Decoder::parms.apid, 0x0101);
    EXPECT_EQ(Decoder::parms.mode, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
}

TEST(DecoderParameters, IsARecordOfIntsWithThePidsFirstAndTheModeSixth)
{
    EXPECT_TRUE(std::is_standard_layout_v<decoderParameters>);
    EXPECT_EQ(offsetof(decoderParameters, vpid), 0 * sizeof(int));
    EXPECT_EQ(offsetof(decoderParameters, apid), 1 * sizeof(int));
    EXPECT_EQ(offsetof(decoderParameters, mode), 5 * sizeof(int));
    EXPECT_TRUE((std::is_same_v<decltype(decoderParameters::mode), int>));
}

TEST_F(DecoderTest, AudioPid8190MutesTheTestPicture)
{
    setPids(0x0100, 8190, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureMuted);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0], TvPicture::testPictureMuted);
    EXPECT_EQ(Decoder::applied().apid, 8190);
}

TEST_F(DecoderTest, RealAudioPidBringsTheSoundBack)
{
    setPids(0x0100, 8190, 0);
    setPids(0x0100, 0x0101, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureWithSound);
    EXPECT_EQ(changes, (std::vector<TvPicture>{TvPicture::testPictureMuted, TvPicture::testPictureWithSound}));
}

TEST_F(DecoderTest, SetKeepsTheOtherFields)
{
    Decoder::parms.tpid = 0x0203;
    Decoder::parms.pcrpid = 0x0204;
    Decoder::parms.pmtpid = 0x0205;
    setPids(0x0300, 8190, 0);
    const decoderParameters applied = Decoder::applied();
    EXPECT_EQ(applied.vpid, 0x0300);
    EXPECT_EQ(applied.tpid, 0x0203);
    EXPECT_EQ(applied.pcrpid, 0x0204);
    EXPECT_EQ(applied.pmtpid, 0x0205);
}

TEST_F(DecoderTest, ShowMp3PicShowsTheStillPictureUntilTheNextSet)
{
    showMP3Pic();
    EXPECT_EQ(Decoder::picture(), TvPicture::radioStill);
    showMP3Pic();
    EXPECT_EQ(changes, (std::vector<TvPicture>{TvPicture::radioStill}));
    setPids(0x0100, 8190, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::testPictureMuted);
}

TEST_F(DecoderTest, SettingTheSamePictureAgainSignalsNothing)
{
    setPids(0x0100, 0x0101, 0);
    setPids(0x0100, 0x0102, 1);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(Decoder::applied().mode, 1);
}

TEST_F(DecoderTest, NoRealVideoPidLeavesTheScreenBlack)
{
    setPids(0, 0x0101, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::blackScreen);
    setPids(0x1FFF, 0x0101, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::blackScreen);
    setPids(-5, 8190, 0);
    EXPECT_EQ(Decoder::picture(), TvPicture::blackScreen);
}

TEST_F(DecoderTest, PicturesHaveNames)
{
    EXPECT_STREQ(tvPictureName(TvPicture::testPictureWithSound), "test picture with sound");
    EXPECT_STREQ(tvPictureName(TvPicture::testPictureMuted), "test picture without sound");
    EXPECT_STREQ(tvPictureName(TvPicture::radioStill), "radio still picture");
    EXPECT_STREQ(tvPictureName(TvPicture::blackScreen), "black screen");
}
