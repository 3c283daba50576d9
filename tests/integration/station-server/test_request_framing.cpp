// When the bytes received on a connection make up a whole request.

#include "request_framing.h"

#include <gtest/gtest.h>

#include <string>

using station::frameRequest;
using station::RequestFraming;
using station::RequestLimits;

namespace {

const RequestLimits limits{};

} // namespace

TEST(StationServerRequestFraming, HeadEndsAtItsBlankLine)
{
    EXPECT_EQ(frameRequest("", limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\nHost: a\r\n", limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\nHost: a\r\n\r\n", limits), RequestFraming::complete);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\nHost: a\n\n", limits), RequestFraming::complete);
}

TEST(StationServerRequestFraming, BodyOfItsContentLengthCompletesIt)
{
    const std::string head = "POST /control/fault HTTP/1.1\r\ncontent-LENGTH:  5 \r\n\r\n";
    EXPECT_EQ(frameRequest(head, limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest(head + "abcd", limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest(head + "abcde", limits), RequestFraming::complete);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n", limits), RequestFraming::complete);
}

TEST(StationServerRequestFraming, ChunkedBodyIsLeftToTheWorker)
{
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\nContent-Length: 9\r\n\r\n", limits),
              RequestFraming::complete);
}

TEST(StationServerRequestFraming, LimitsAreHeld)
{
    const std::string filler = "X-Filler: " + std::string(limits.headBytes, 'a') + "\r\n";
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\n" + filler, limits), RequestFraming::headTooLarge);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\n" + filler + "\r\n", limits), RequestFraming::headTooLarge);
    const std::string announced =
        "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(limits.bodyBytes + 1) + "\r\n\r\n";
    EXPECT_EQ(frameRequest(announced, limits), RequestFraming::bodyTooLarge);
}

TEST(StationServerRequestFraming, RequestLineAsFarAsItCame)
{
    EXPECT_EQ(station::requestLineOf("GET /a HTTP/1.1\r\nHost: a\r\n"), "GET /a HTTP/1.1");
    EXPECT_EQ(station::requestLineOf("GET /sbin/new"), "GET /sbin/new");
}
