#include "media/gstreamer/stream_address.h"

#include <gtest/gtest.h>

using boxmedia::addressScheme;
using boxmedia::refusalReason;
using boxmedia::streamAddress;

TEST(StreamAddress, DropsTrailingBlanksAndLineEnds)
{
    EXPECT_EQ(streamAddress("http://host/radio\r"), "http://host/radio");
    EXPECT_EQ(streamAddress("http://host/radio \t\r\n"), "http://host/radio");
    EXPECT_EQ(streamAddress(" \r\n"), "");
}

TEST(StreamAddress, PercentEncodesBlanksAndControlBytesInside)
{
    EXPECT_EQ(streamAddress("http://host/radio?station=jazz radio&x=1"), "http://host/radio?station=jazz%20radio&x=1");
    EXPECT_EQ(streamAddress(std::string("http://host/a\tb\x7f"
                                        "c")),
              "http://host/a%09b%7Fc");
}

TEST(AddressScheme, IsTheLowerCaseNameBeforeTheFirstColon)
{
    EXPECT_EQ(addressScheme("http://host/"), "http");
    EXPECT_EQ(addressScheme("HTTPS://host/"), "https");
    EXPECT_EQ(addressScheme("svn+ssh://host/"), "svn+ssh");
    EXPECT_EQ(addressScheme("file:///tmp/x.mp3"), "file");
}

TEST(AddressScheme, IsEmptyWithoutOne)
{
    EXPECT_EQ(addressScheme(""), "");
    EXPECT_EQ(addressScheme("host/radio"), "");
    EXPECT_EQ(addressScheme("://host"), "");
    EXPECT_EQ(addressScheme("1http://host"), "");
    EXPECT_EQ(addressScheme("not an address: really"), "");
}

TEST(StreamAddressRefusal, PlaysHttpHttpsIcyAndIcyxInAnyCase)
{
    for (const char *address :
         {"http://h/", "https://h/", "icy://h/", "icyx://h/", "HTTP://h/", "Https://h/", "ICY://h/", "IcyX://h/"})
        EXPECT_EQ(refusalReason(address), std::nullopt) << address;
}

TEST(StreamAddressRefusal, RefusesOtherSchemesAndNamesThem)
{
    for (const char *scheme : {"file", "rtsp", "ftp", "mms", "data"}) {
        const auto reason = refusalReason(std::string(scheme) + "://h/x");
        ASSERT_TRUE(reason.has_value()) << scheme;
        EXPECT_EQ(reason->rfind(std::string(scheme) + ":", 0), 0u) << *reason;
    }
}

TEST(StreamAddressRefusal, RefusesAddressesWithoutScheme)
{
    for (const char *address : {"", "host/radio", "127.0.0.1:8000/radio", "/var/music/x.mp3"}) {
        const auto reason = refusalReason(address);
        ASSERT_TRUE(reason.has_value()) << address;
        EXPECT_NE(reason->find("no scheme"), std::string::npos) << *reason;
    }
}
