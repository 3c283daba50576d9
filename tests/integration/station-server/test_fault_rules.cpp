// The fault rules of station-server as --fault and the control endpoint
// read them: kinds, the seconds of a drop, and the table that counts them.

#include "faults.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using station::Fault;
using station::FaultKind;

TEST(StationServerFaultRules, EveryKindHasItsName)
{
    const std::vector<std::pair<std::string, FaultKind>> kinds = {
        {"status503", FaultKind::status503},
        {"status404", FaultKind::status404},
        {"malformed-xml", FaultKind::malformedXml},
        {"truncated", FaultKind::truncated},
        {"stall", FaultKind::stall},
        {"trickle", FaultKind::trickle},
        {"close", FaultKind::close},
        {"empty200", FaultKind::empty200},
        {"drop", FaultKind::drop},
        {"icy-status", FaultKind::icyStatus},
        {"latin1-titles", FaultKind::latin1Titles},
        {"redirect", FaultKind::redirect},
        {"hostile-address", FaultKind::hostileAddress},
        {"ampersand-address", FaultKind::ampersandAddress},
    };
    for (const auto &[name, kind] : kinds) {
        EXPECT_EQ(station::parseFaultKind(name), kind) << name;
        EXPECT_EQ(station::faultKindName(kind), name);
        EXPECT_NE(station::faultKindNames().find(name), std::string::npos) << name;
    }
    EXPECT_EQ(station::parseFaultKind("Drop"), std::nullopt);
    EXPECT_EQ(station::parseFaultKind("icy_status"), std::nullopt);
}

TEST(StationServerFaultRules, DropTakesItsSecondsAfterAColon)
{
    const auto plain = station::parseFaultRule("/stream/*=drop");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->path, "/stream/*");
    EXPECT_EQ(plain->fault, (Fault{FaultKind::drop, 3s}));
    EXPECT_EQ(plain->remaining, std::nullopt);

    EXPECT_EQ(station::parseFaultRule("/stream/7=drop:5")->fault.dropAfter, 5s);
    EXPECT_EQ(station::parseFaultRule("/stream/7=drop:2.5")->fault.dropAfter, 2500ms);
    EXPECT_EQ(station::parseFaultRule("/stream/7=drop:0")->fault.dropAfter, 0ms);
    EXPECT_EQ(station::parseFaultRule("/stream/7=drop:3600")->fault.dropAfter, 3600s);
    EXPECT_EQ(station::parseFaultRule("/a=b=icy-status")->path, "/a=b") << "the kind follows the last =";
}

TEST(StationServerFaultRules, MalformedRulesAreRefused)
{
    for (const char *text :
         {"/stream/*=drop:", "/stream/*=drop:abc", "/stream/*=drop:-1", "/stream/*=drop:3600.5", "/stream/*=drop:inf",
          "/stream/*=drop:nan", "/stream/*=drop:1e999", "/stream/*=drop:5:6", "/stream/*=drop: 5", "/stream/*=stall:5",
          "/stream/*=redirect:1", "/x=explode", "stream=stall", "=stall", "/stream/*", "/stream/*=:5"})
        EXPECT_EQ(station::parseFaultRule(text), std::nullopt) << text;
}

TEST(StationServerFaultRules, DropSecondsAreReadToTheMillisecond)
{
    EXPECT_EQ(station::parseDropSeconds("0.001"), 1ms);
    EXPECT_EQ(station::parseDropSeconds("1e2"), 100s);
    EXPECT_EQ(station::parseDropSeconds("+1"), std::nullopt);
    EXPECT_EQ(station::parseDropSeconds("0x10"), std::nullopt);
    EXPECT_EQ(station::parseDropSeconds("99999999999999999999"), std::nullopt);
}

TEST(StationServerFaultRules, DescriptionsReadBackAsTheSameFault)
{
    EXPECT_EQ(station::describeFault(Fault{FaultKind::drop, 3s}), "drop:3");
    EXPECT_EQ(station::describeFault(Fault{FaultKind::drop, 2500ms}), "drop:2.5");
    EXPECT_EQ(station::describeFault(Fault{FaultKind::drop, 125ms}), "drop:0.125");
    EXPECT_EQ(station::describeFault(Fault{FaultKind::drop, 0ms}), "drop:0");
    EXPECT_EQ(station::describeFault(Fault{FaultKind::icyStatus}), "icy-status");
    for (const Fault fault : {Fault{FaultKind::drop, 1050ms}, Fault{FaultKind::latin1Titles},
                              Fault{FaultKind::redirect}, Fault{FaultKind::stall}}) {
        EXPECT_EQ(station::parseFault(station::describeFault(fault)), fault) << station::describeFault(fault);
    }
}

TEST(StationServerFaultRules, TableCountsDownAndDescribesTheSeconds)
{
    station::FaultTable table;
    table.add(station::FaultRule{"/stream/*", Fault{FaultKind::drop, 1500ms}, 2});
    table.add(station::FaultRule{"/stream/7", Fault{FaultKind::redirect}, 1});
    EXPECT_EQ(table.describe(), "/stream/*=drop:1.5 (2 more)\n/stream/7=redirect (1 more)\n");
    EXPECT_EQ(table.take("/stream/7"), (Fault{FaultKind::redirect})) << "the rule added last wins";
    EXPECT_EQ(table.take("/stream/7"), (Fault{FaultKind::drop, 1500ms}));
    EXPECT_EQ(table.take("/sbin/newxml.phtml"), std::nullopt);
    EXPECT_EQ(table.describe(), "/stream/*=drop:1.5 (1 more)\n");
    EXPECT_EQ(table.take("/stream/8"), (Fault{FaultKind::drop, 1500ms}));
    EXPECT_EQ(table.take("/stream/8"), std::nullopt);
    EXPECT_EQ(table.describe(), "");
}
