// The gateway's reply cache: fresh copies served without asking, old ones
// fetched again, the last good copy served when the upstream fails, and
// the number of copies bounded.

#include "reply_cache.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::chrono_literals;
using station::ReplyCache;

class ReplyCacheTest : public ::testing::Test
{
protected:
    ReplyCache::Clock::time_point now{};
    int fetches = 0;

    ReplyCache cacheOf(std::size_t capacity = 256)
    {
        return ReplyCache(capacity, [this] { return now; });
    }
    std::function<ReplyCache::Fetched()> answering(const std::string &body)
    {
        return [this, body] {
            ++fetches;
            return ReplyCache::Fetched{true, body, {}};
        };
    }
    std::function<ReplyCache::Fetched()> failing(const std::string &error)
    {
        return [this, error] {
            ++fetches;
            return ReplyCache::Fetched{false, {}, error};
        };
    }
};

TEST_F(ReplyCacheTest, AFreshCopyIsServedWithoutAsking)
{
    ReplyCache cache = cacheOf();
    EXPECT_EQ(cache.get("genres", 3600s, answering("one")).body, "one");
    now += 3599s;
    const ReplyCache::Served served = cache.get("genres", 3600s, answering("two"));
    EXPECT_TRUE(served.ok);
    EXPECT_FALSE(served.stale);
    EXPECT_EQ(served.body, "one");
    EXPECT_EQ(fetches, 1);
}

TEST_F(ReplyCacheTest, AnOldCopyIsFetchedAgain)
{
    ReplyCache cache = cacheOf();
    cache.get("top", 600s, answering("one"));
    now += 600s;
    EXPECT_EQ(cache.get("top", 600s, answering("two")).body, "two");
    EXPECT_EQ(fetches, 2);
    now += 10s;
    EXPECT_EQ(cache.get("top", 600s, answering("three")).body, "two");
}

TEST_F(ReplyCacheTest, TheLastGoodCopyStandsInWhenTheUpstreamFails)
{
    ReplyCache cache = cacheOf();
    cache.get("top", 600s, answering("good"));
    now += 24h;
    const ReplyCache::Served served = cache.get("top", 600s, failing("HTTP 503 from upstream"));
    EXPECT_TRUE(served.ok);
    EXPECT_TRUE(served.stale);
    EXPECT_EQ(served.body, "good");
    // It is still old: the next request asks again.
    EXPECT_EQ(cache.get("top", 600s, answering("new")).body, "new");
}

TEST_F(ReplyCacheTest, WithoutACopyTheFailureIsServed)
{
    ReplyCache cache = cacheOf();
    const ReplyCache::Served served = cache.get("top", 600s, failing("no upstream server answered"));
    EXPECT_FALSE(served.ok);
    EXPECT_EQ(served.error, "no upstream server answered");
    EXPECT_TRUE(served.body.empty());
}

TEST_F(ReplyCacheTest, KeysAreKeptApart)
{
    ReplyCache cache = cacheOf();
    cache.get("search=rock", 600s, answering("rock"));
    EXPECT_EQ(cache.get("search=jazz", 600s, answering("jazz")).body, "jazz");
    EXPECT_EQ(cache.get("search=rock", 600s, answering("other")).body, "rock");
}

TEST_F(ReplyCacheTest, TheCopyFetchedLongestAgoGoesFirstWhenFull)
{
    ReplyCache cache = cacheOf(2);
    cache.get("a", 600s, answering("a1"));
    now += 1s;
    cache.get("b", 600s, answering("b1"));
    now += 1s;
    cache.get("c", 600s, answering("c1"));
    fetches = 0;
    EXPECT_EQ(cache.get("b", 600s, answering("b2")).body, "b1");
    EXPECT_EQ(cache.get("c", 600s, answering("c2")).body, "c1");
    EXPECT_EQ(fetches, 0);
    EXPECT_EQ(cache.get("a", 600s, answering("a2")).body, "a2");
    EXPECT_EQ(fetches, 1);
}

} // namespace
