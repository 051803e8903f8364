// SPDX-License-Identifier: Apache-2.0
// Facts as text and as JSON.
#include "kslctl/views/changes.h"
#include "kslctl/views/failure.h"
#include "kslctl/views/forwarding.h"
#include "kslctl/views/listing.h"
#include "kslctl/views/raw.h"
#include "kslctl/views/status.h"
#include "kslctl/views/values.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl;
using hub::Bytes;
using hub::Fact;

const views::Style kPlain(false);
const hub::Failure kFailure{1, "operation", "register", 17};

struct Row {
    uint32_t port;
    Fact<uint32_t> value;
};

const views::Columns<Row> kColumns = {
    views::kPortColumn<Row>,
    {"value", "key", views::Align::left, [](const Row &row) { return views::cell(row.value, views::number); }},
    {nullptr, "only_json", views::Align::left, [](const Row &) { return views::number(1); }},
    {"only table", nullptr, views::Align::left, [](const Row &) { return views::number(2); }},
};

TEST(Listing, AColumnGivesTheTableAndTheObject) {
    const std::vector<Row> rows = {{3, 5}, {4, kFailure}, {5, {}}};
    EXPECT_EQ(views::table(kColumns, rows, kPlain), "port  value  only table\n"
                                                    "   3  5      2\n"
                                                    "   4  ?      2\n"
                                                    "   5  -      2\n");
    EXPECT_EQ(views::objects(kColumns, rows), (Json::array({{{"port", 3}, {"key", 5}, {"only_json", 1}},
                                                            {{"port", 4}, {"key", nullptr}, {"only_json", 1}},
                                                            {{"port", 5}, {"key", nullptr}, {"only_json", 1}}})));
}

TEST(Listing, OneRowIsLines) {
    EXPECT_EQ(views::lines(kColumns, {3, 5}, kPlain), "port        3\nvalue       5\nonly table  2\n");
}

hub::PortState port_with(Fact<bool> link, Fact<uint32_t> speed, Fact<hub::Duplex> duplex, bool negotiates) {
    return {.status = {4, link, {}, speed, duplex},
            .passed = true,
            .control = hub::PortControl::on,
            .phy = hub::PhyControl{.negotiates = negotiates,
                                   .speed = 10,
                                   .duplex = hub::Duplex::half,
                                   .loopback = false,
                                   .power_down = false,
                                   .isolated = false,
                                   .reset = false}};
}

// The row of the only port.
std::string row_of(const hub::PortState &port, const views::Style &style) {
    const std::string text = views::ports({.self_test = {}, .ports = {port}, .registers = {}}, style).text;
    const size_t row = text.rfind('\n', text.size() - 2) + 1;
    return text.substr(row, text.size() - 1 - row);
}

TEST(PortStates, SayWhatThereIsOfALink) {
    using hub::Duplex;
    EXPECT_EQ(row_of(port_with(true, 100, Duplex::full, true), kPlain), "   4  100 full  auto 10 half");
    EXPECT_EQ(row_of(port_with(true, 100, Duplex::full, false), kPlain), "   4  100 full  10 half");
    EXPECT_EQ(row_of(port_with(false, {}, {}, true), kPlain), "   4  down  auto 10 half");
    EXPECT_EQ(row_of(port_with(kFailure, 100, Duplex::full, true), kPlain), "   4  ?     auto 10 half");
    EXPECT_EQ(row_of(port_with(true, kFailure, Duplex::full, true), kPlain), "   4  ? full  auto 10 half");
    hub::PortState port = port_with(false, {}, {}, true);
    port.control = hub::PortControl::partly;
    EXPECT_EQ(row_of(port, kPlain), "   4  partly, down  auto 10 half");
    port.control = kFailure;
    EXPECT_EQ(row_of(port, kPlain), "   4  ?, down  auto 10 half");
}

TEST(PortStates, EmphasiseHalfDuplexWhereThePhyNegotiatesAndAFailedSelfTest) {
    using hub::Duplex;
    const views::Style emphasis(true);
    EXPECT_EQ(row_of(port_with(true, 10, Duplex::half, true), emphasis), "   4  \x1b[31m10 half\x1b[0m  auto 10 half");
    EXPECT_EQ(row_of(port_with(true, 10, Duplex::half, false), emphasis), "   4  10 half  10 half");
    EXPECT_EQ(row_of(port_with(true, 10, Duplex::full, true), emphasis), "   4  10 full  auto 10 half");
    hub::PortState port = port_with(false, {}, Duplex::half, true);
    EXPECT_EQ(row_of(port, emphasis), "   4  down  auto 10 half");
    port.passed = false;
    EXPECT_EQ(row_of(port, emphasis), "   \x1b[31m4\x1b[0m  down  auto 10 half");
    EXPECT_TRUE(views::self_test({.passed = false, .failed_ports = {}}).is_wrong);
    EXPECT_TRUE(views::self_test({.passed = true, .failed_ports = {3}}).is_wrong);
    EXPECT_FALSE(views::self_test({.passed = true, .failed_ports = {}}).is_wrong);
}

TEST(Raw, EachRegisterHasItsOwnLength) {
    const views::Shown shown = views::raw({hub::reading_of(hub::registers::switch_mode, 0, Bytes{0x03, 0xFF}),
                                           hub::reading_of(hub::registers::phy_control, 2, Bytes{0x31, 0x00}),
                                           hub::reading_of(hub::registers::learning_limit, 1, kFailure)},
                                          kPlain);
    EXPECT_EQ(shown.text, "register        of      page  offset  bytes\n"
                          "switch_mode     chip    0x00  0x00    03\n"
                          "phy_control     port 2  0x12  0x00    31 00\n"
                          "learning_limit  port 1  0x41  0x72    ?\n");
    const Json expected = {{{"register", "switch_mode"}, {"page", 0}, {"offset", 0}, {"bytes", "03"}},
                           {{"register", "phy_control"}, {"port", 2}, {"page", 18}, {"offset", 0}, {"bytes", "31 00"}},
                           {{"register", "learning_limit"}, {"port", 1}, {"page", 65}, {"offset", 114}, {"bytes", {}}}};
    EXPECT_EQ(shown.json["registers"], expected);
}

TEST(Values, PhyControlTellsEachBit) {
    const std::pair<Bytes, const char *> rows[] = {
        {{0x00}, "forced 10 half"},
        {{0x10}, "auto 10 half"},
        {{0x20}, "forced 100 half"},
        {{0x01}, "forced 10 full"},
        {{0x40}, "forced 10 half, loopback"},
        {{0x08}, "forced 10 half, power down"},
        {{0x04}, "forced 10 half, isolated"},
        {{0x80}, "forced 10 half, reset"},
        {{0xFF, 0xFF}, "auto 100 full, loopback, power down, isolated, reset"},
    };
    for (const auto &[bytes, text] : rows) {
        EXPECT_EQ(views::value_of(hub::registers::phy_control, bytes).text, text);
    }
    const Json expected = {{"negotiates", true}, {"speed", 100},     {"duplex", "full"}, {"loopback", false},
                           {"power_down", true}, {"isolated", true}, {"reset", false}};
    EXPECT_EQ(views::value_of(hub::registers::phy_control, {0x3D, 0x00}).json, expected);
}

TEST(Values, PortControlIsOnPartlyOrOff) {
    const char *const expected[] = {"on", "partly", "partly", "off"};
    for (uint8_t byte = 0; byte < 4; ++byte) {
        const views::Cell cell = views::value_of(hub::registers::port_control, {byte});
        EXPECT_EQ(cell.text, expected[byte]);
        EXPECT_EQ(cell.json, expected[byte]);
    }
}

// Programs get the number of the register.
TEST(Values, ALearningLimitOfZeroIsNone) {
    const views::Shown shown = views::learning({{7, 1, 0}, {8, 2, 16}, {9, 0, kFailure}}, kPlain);
    EXPECT_EQ(shown.text, "port  learned     limit\n"
                          "   7        1  no limit\n"
                          "   8        2        16\n"
                          "   9        0         ?\n");
    EXPECT_EQ(shown.json["ports"][0]["limit"], Json(0));
    const views::Cell written = views::value_of(hub::registers::learning_limit, Bytes{0x00, 0x00});
    EXPECT_EQ(written.text, "no limit");
    EXPECT_EQ(written.json, Json(0));
}

TEST(Failures, AreExplained) {
    EXPECT_EQ(views::failure(kFailure, false).text,
              "chip 1: register not read: operation returned 17 (a code of the lower library)");
    EXPECT_EQ(views::failure(kFailure, true).text,
              "chip 1: register not read: operation returned 17 (a code that the simulated hub was told to give)");
    EXPECT_EQ(views::failure({1, "operation", "limit", -1, "not set"}, true).text,
              "chip 1: limit not set: operation returned -1 (the lower library lacks an entry point)");
    EXPECT_EQ(views::failure({1, "operation", "limit", -1, "not set", "too high"}, true).text,
              "chip 1: limit not set: operation returned -1 (too high)");
}

TEST(Failures, WithoutAnOperationHaveTheirReason) {
    const views::Shown shown = views::failure({1, {}, "port 3", 0, "not set", {}, "it is asleep"}, false);
    EXPECT_EQ(shown.text, "chip 1: port 3 not set: it is asleep");
    const Json expected = {
        {"chip", 1}, {"operation", nullptr}, {"about", nullptr}, {"code", nullptr}, {"message", shown.text}};
    EXPECT_EQ(shown.json, expected);
}

TEST(Failures, OfOneCauseAreOneSentence) {
    const hub::Failure more[] = {{1, "other", "mode", 17},
                                 {1, {}, "port 3", 17, "not set", {}, "it could not be read"},
                                 {1, "other", "speed", 17}};
    EXPECT_EQ(views::sentence({kFailure, more[0]}, false),
              "chip 1: register and 1 more not read: operation returned 17 (a code of the lower library)");
    EXPECT_EQ(views::sentence({kFailure, more[0], more[1], more[2]}, false),
              "chip 1: register and 2 more not read, port 3 not set: operation returned 17 (a code of the lower "
              "library)");
    EXPECT_EQ(views::sentence({more[1], more[1]}, false), "chip 1: port 3 and 1 more not set: it could not be read");
}

TEST(TrunkAnswer, IsYesNoOrNotRead) {
    const views::Shown yes = views::trunk_answer({0, 22, 23}, true, kPlain);
    EXPECT_EQ(yes.text, "trunk group 0  has the ports 22 and 23\n");
    EXPECT_EQ(yes.json["verdict"], true);
    EXPECT_FALSE(yes.answer_is_no);
    const views::Shown no = views::trunk_answer({0, 22, 23}, false, kPlain);
    EXPECT_EQ(no.json["verdict"], false);
    EXPECT_TRUE(no.answer_is_no);
    const views::Shown not_read = views::trunk_answer({0, 22, 23}, kFailure, kPlain);
    EXPECT_EQ(not_read.text, "trunk group 0  ?\n");
    EXPECT_EQ(not_read.json["verdict"], nullptr);
    EXPECT_FALSE(not_read.answer_is_no);
}

TEST(Values, OfForwardingRegisters) {
    namespace registers = hub::registers;
    const Bytes ones = {0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(views::value_of(registers::age_timer, ones).json, 0xFFFFF);
    EXPECT_EQ(views::value_of(registers::learning_limit, ones).json, 8191);
    EXPECT_EQ(views::value_of(registers::ingress_mirror_mask, {0, 0, 0, 6}).text, "ports 1-2");
    EXPECT_EQ(views::value_of(registers::egress_mirror_mask, {0, 0, 0, 6}).json, Json::array({1, 2}));
    EXPECT_EQ(views::value_of(registers::mirror_control, {0x80, 0, 0, 0x20}).text, "on, to port 5");
    EXPECT_EQ(views::value_of(registers::mirror_control, {}).text, "off, to no port");
}

} // namespace
