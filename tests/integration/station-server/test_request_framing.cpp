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
}

TEST(StationServerRequestFraming, ABareLineFeedIsRefused)
{
    // cpp-httplib skips a header line that a bare line feed ends, and reads on
    // past a blank one: the two would disagree on where the request ends.
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\nHost: a\n\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\nHost: a\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nContent-Length: 3\r\nContent-Length: 0'\n\r\nabc", limits),
              RequestFraming::malformed);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\n\n", limits), RequestFraming::malformed);
}

TEST(StationServerRequestFraming, AHeaderLineNeedsAName)
{
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\nno colon here\r\n\r\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\n: a\r\n\r\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nTra/a&x Hnsfer-Encoding: chunked\r\n\r\n", limits),
              RequestFraming::malformed);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nContent-Length : 3\r\n\r\nabc", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("GET / HTTP/1.1\r\n folded\r\n\r\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest(" POST / HTTP/1.1\r\n\r\n", limits), RequestFraming::malformed);
    EXPECT_EQ(frameRequest("GET\r\n\r\n", limits), RequestFraming::malformed);
}

TEST(StationServerRequestFraming, AnUnreadableLengthIsRefused)
{
    for (const char *length : {"", "0'", "-1", "+3", "0x3", "3 3", "%33", "99999999999999999999999"})
        EXPECT_EQ(frameRequest(std::string("POST / HTTP/1.1\r\nContent-Length: ") + length + "\r\n\r\nabc", limits),
                  RequestFraming::malformed)
            << length;
}

TEST(StationServerRequestFraming, BodyOfItsContentLengthCompletesIt)
{
    const std::string head = "POST /control/fault HTTP/1.1\r\ncontent-LENGTH:  5 \r\n\r\n";
    EXPECT_EQ(frameRequest(head, limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest(head + "abcd", limits), RequestFraming::incomplete);
    EXPECT_EQ(frameRequest(head + "abcde", limits), RequestFraming::complete);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nContent-Length: 0\r\n\r\n", limits), RequestFraming::complete);
}

TEST(StationServerRequestFraming, AChunkedBodyIsRefused)
{
    // Only a body of a stated length can be had whole before a worker starts.
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\nContent-Length: 9\r\n\r\n", limits),
              RequestFraming::lengthRequired);
    EXPECT_EQ(frameRequest("POST / HTTP/1.1\r\ntransfer-encoding: gzip\r\n", limits), RequestFraming::lengthRequired);
}

TEST(StationServerRequestFraming, ABodyWithoutALengthIsRefused)
{
    // The worker would read such a body until the connection closes.
    for (const char *method : {"POST", "PUT", "PATCH", "PRI"})
        EXPECT_EQ(frameRequest(std::string(method) + " /control/fault?path=/a&kind=stall HTTP/1.1\r\nHost: a\r\n\r\n",
                               limits),
                  RequestFraming::lengthRequired)
            << method;
    EXPECT_EQ(frameRequest("DELETE /control/faults HTTP/1.1\r\nHost: a\r\n\r\n", limits), RequestFraming::complete);
}

TEST(StationServerRequestFraming, TwoDifferentLengthsAreRefused)
{
    EXPECT_EQ(frameRequest("POST /a HTTP/1.1\r\nContent-Length: 5\r\nContent-Length: 3\r\n\r\nabc", limits),
              RequestFraming::malformed);
    EXPECT_EQ(frameRequest("POST /a HTTP/1.1\r\nContent-Length: 3\r\nContent-Length: 3\r\n\r\nabc", limits),
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
