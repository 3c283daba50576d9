// The upstream's mirrors: read from a DNS SRV answer, shuffled, and asked in
// turn, the last one that answered first.

#include "upstream_servers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using station::ServerRotation;

// A DNS message in wire format, built by hand.
class DnsMessage
{
public:
    explicit DnsMessage(std::uint16_t answers)
    {
        put16(0x1234); // id
        put16(0x8180); // a reply, recursion available, no error
        put16(1); // one question
        put16(answers);
        put16(0);
        put16(0);
        putName(std::string(station::radioBrowserSrvName));
        put16(33); // SRV
        put16(1); // IN
    }

    void addRecord(std::uint16_t type, const std::string &target)
    {
        put16(0xC00C); // the question's name
        put16(type);
        put16(1);
        put16(0);
        put16(300); // TTL
        std::vector<std::uint8_t> data;
        std::swap(data, bytes);
        put16(10); // priority
        put16(5); // weight
        put16(443); // port
        putName(target);
        std::swap(data, bytes);
        put16(static_cast<std::uint16_t>(data.size()));
        bytes.insert(bytes.end(), data.begin(), data.end());
    }

    std::vector<std::uint8_t> bytes;

private:
    void put16(std::uint16_t value)
    {
        bytes.push_back(static_cast<std::uint8_t>(value >> 8));
        bytes.push_back(static_cast<std::uint8_t>(value & 0xff));
    }
    void putName(const std::string &name)
    {
        std::size_t start = 0;
        while (start < name.size()) {
            std::size_t dot = name.find('.', start);
            if (dot == std::string::npos)
                dot = name.size();
            bytes.push_back(static_cast<std::uint8_t>(dot - start));
            bytes.insert(bytes.end(), name.begin() + static_cast<long>(start), name.begin() + static_cast<long>(dot));
            start = dot + 1;
        }
        bytes.push_back(0);
    }
};

TEST(SrvAnswer, GivesAnHttpsAddressForEachTargetOnce)
{
    DnsMessage message(4);
    message.addRecord(33, "de1.api.radio-browser.info");
    message.addRecord(33, "nl1.api.radio-browser.info");
    message.addRecord(16, "some text record"); // not SRV: passed over
    message.addRecord(33, "de1.api.radio-browser.info");
    EXPECT_EQ(station::serversFromSrvAnswer(message.bytes.data(), message.bytes.size()),
              (std::vector<std::string>{"https://de1.api.radio-browser.info", "https://nl1.api.radio-browser.info"}));
}

TEST(SrvAnswer, ABrokenAnswerGivesNoServer)
{
    DnsMessage message(2);
    message.addRecord(33, "de1.api.radio-browser.info");
    message.addRecord(33, "nl1.api.radio-browser.info");
    for (const std::size_t length : {std::size_t{0}, std::size_t{5}, message.bytes.size() - 3})
        EXPECT_TRUE(station::serversFromSrvAnswer(message.bytes.data(), length).empty()) << length;
    EXPECT_TRUE(station::serversFromSrvAnswer(nullptr, 100).empty());
}

TEST(ServerRotation, ShufflesTheServersOnce)
{
    std::vector<std::string> servers;
    for (int index = 0; index < 20; ++index)
        servers.push_back("https://server" + std::to_string(index));
    std::mt19937 random(7);
    const ServerRotation rotation(servers, random);
    EXPECT_NE(rotation.servers(), servers);
    std::vector<std::string> sorted = rotation.servers();
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::string> expected = servers;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sorted, expected);
}

TEST(ServerRotation, AsksTheNextServerWhenOneFailsAndKeepsTheOneThatAnswered)
{
    std::mt19937 random(1);
    ServerRotation rotation({"https://a", "https://b", "https://c"}, random);
    const std::vector<std::string> order = rotation.servers();
    std::vector<std::string> asked;
    const auto firstFails = [&](const std::string &base) {
        asked.push_back(base);
        return ServerRotation::Attempt{base != order[0], base == order[0] ? "down" : ""};
    };
    EXPECT_TRUE(rotation.tryEach(firstFails).ok);
    EXPECT_EQ(asked, (std::vector<std::string>{order[0], order[1]}));
    asked.clear();
    EXPECT_TRUE(rotation.tryEach(firstFails).ok);
    EXPECT_EQ(asked, (std::vector<std::string>{order[1]}));
}

TEST(ServerRotation, NamesEveryFailureWhenNoServerAnswers)
{
    std::mt19937 random(1);
    ServerRotation rotation({"https://a", "https://b"}, random);
    const ServerRotation::Attempt attempt = rotation.tryEach([](const std::string &base) {
        return ServerRotation::Attempt{false, base + " is down"};
    });
    EXPECT_FALSE(attempt.ok);
    EXPECT_NE(attempt.error.find("https://a is down"), std::string::npos);
    EXPECT_NE(attempt.error.find("https://b is down"), std::string::npos);
}

TEST(ServerRotation, WithoutServersNothingIsAsked)
{
    std::mt19937 random(1);
    ServerRotation rotation({}, random);
    bool asked = false;
    const ServerRotation::Attempt attempt = rotation.tryEach([&](const std::string &) {
        asked = true;
        return ServerRotation::Attempt{true, {}};
    });
    EXPECT_FALSE(attempt.ok);
    EXPECT_FALSE(asked);
    EXPECT_EQ(attempt.error, "no upstream server is known");
}

} // namespace
