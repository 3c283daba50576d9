// The station server's --upstream option.

#include "options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using station::ServerOptions;

ServerOptions parse(const std::vector<std::string> &arguments)
{
    std::vector<std::string> line{"station-server"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    return station::parseOptions(line, "stations.xml");
}

TEST(StationServerOptions, WithoutUpstreamTheCatalogueServes)
{
    EXPECT_EQ(parse({}).upstream, ServerOptions::Upstream::none);
}

TEST(StationServerOptions, RadioBrowserTakesItsMirrorsWithoutTrailingSlashes)
{
    const ServerOptions options = parse({"--upstream", "radio-browser=https://a.example/,http://b.example:8080"});
    EXPECT_EQ(options.upstream, ServerOptions::Upstream::radioBrowser);
    EXPECT_EQ(options.radioBrowserServers, (std::vector<std::string>{"https://a.example", "http://b.example:8080"}));
    EXPECT_TRUE(parse({"--upstream=radio-browser"}).radioBrowserServers.empty());
}

TEST(StationServerOptions, ShoutcastTakesTheKeyAndByDefaultTheDirectorysOwnHosts)
{
    const ServerOptions options = parse({"--upstream", "shoutcast=Ab-1._~z"});
    EXPECT_EQ(options.upstream, ServerOptions::Upstream::shoutcast);
    EXPECT_EQ(options.shoutcast.key, "Ab-1._~z");
    EXPECT_EQ(options.shoutcast.apiUrl, "http://api.shoutcast.com");
    EXPECT_EQ(options.shoutcast.tuneInUrl, "http://yp.shoutcast.com");
}

TEST(StationServerOptions, ShoutcastAtAnAddressTakesBothItsApiAndItsPlaylistsFromThere)
{
    const ServerOptions options = parse({"--upstream=shoutcast=key@https://directory.example:8443/"});
    EXPECT_EQ(options.shoutcast.key, "key");
    EXPECT_EQ(options.shoutcast.apiUrl, "https://directory.example:8443");
    EXPECT_EQ(options.shoutcast.tuneInUrl, "https://directory.example:8443");
}

TEST(StationServerOptions, TheLastUpstreamCounts)
{
    const ServerOptions options = parse({"--upstream", "shoutcast=key", "--upstream", "radio-browser=http://a"});
    EXPECT_EQ(options.upstream, ServerOptions::Upstream::radioBrowser);
}

TEST(StationServerOptions, AnUnusableUpstreamIsRefused)
{
    for (const std::string upstream :
         {"", "radio", "radio-browser=", "radio-browser=ftp://a", "radio-browser=http://", "radio-browser=http://a b",
          "shoutcast", "shoutcast=", "shoutcast=@http://a", "shoutcast=k y", "shoutcast=k&mt=x", "shoutcast=key@",
          "shoutcast=key@ftp://a", "shoutcast=key@http://a@b c"}) {
        EXPECT_THROW(parse({"--upstream", upstream}), station::UsageError) << upstream;
    }
}

} // namespace
