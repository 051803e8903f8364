// SPDX-License-Identifier: Apache-2.0
#include "chip/addresses.h"
#include "chip/ports.h"
#include "problem.h"
#include "scenario/scenario.h"
#include "support.h"

#include <gmock/gmock.h>

namespace hwa {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;

std::string problem_of(const std::string &text) {
    try {
        parse_scenario(text);
    } catch (const Unusable &problem) {
        return problem.what();
    }
    return "none";
}

// The same of a text of one line, without the place.
std::string words_about(const std::string &text) {
    const std::string problem = problem_of(text);
    const size_t words = problem.find(": ");
    return problem.starts_with("line 1, column ") ? problem.substr(words + 2) : problem;
}

std::string with_chip(const std::string &members) {
    return R"({"name":"n","chips":[{"chip":0)" + (members.empty() ? "" : "," + members) + "}]}";
}

std::string with_port(const std::string &members) {
    return with_chip(R"("ports":[{"port":0,"link":true},{"port":3,)" + members + "}]");
}

std::string with_vlan_entry(const std::string &members) {
    return with_chip(R"("vlan":{"enabled":true,"entries":[{"vid":7},{)" + members + "}]}");
}

TEST(Scenario, PortsThatAreNotListedAreDown) {
    const Scenario scenario = parse_scenario(with_chip(""));
    ASSERT_EQ(scenario.chips.size(), 1U);
    const ChipImage &chip = scenario.chips[0];
    EXPECT_EQ(chip.present, 1);
    EXPECT_EQ(chip.number, 0);
    EXPECT_THAT(chip.firmware, Each(0));
    EXPECT_EQ(chip.managed, 1);
    EXPECT_EQ(chip.forwarding, 1);
    EXPECT_THAT(chip.ports, Each(Field(&PortImage::partner, 0)));
    EXPECT_THAT(chip.ports, Each(Field(&PortImage::link_changed, 0)));
    EXPECT_THAT(chip.ports, Each(Field(&PortImage::test_failed, 0)));
    EXPECT_THAT(chip.address_count, ElementsAre(0, 0));
    for (size_t page = 0; page < kPages; ++page) {
        for (size_t offset = 0; offset < kPageSize; ++offset) {
            const bool is_phy_control = page >= 0x10 && page < 0x28 && offset == 0;
            ASSERT_EQ(chip.pages[page][offset], is_phy_control ? 0x31 : 0) << page << " " << offset;
        }
    }
    EXPECT_THAT(chip.vlan.entries, Each(Each(0)));
    EXPECT_THAT(chip.vlan.entry, Each(0));
}

TEST(Scenario, TakesEveryMember) {
    const Scenario scenario = parse_scenario(R"({
      "name": "all of it",
      "chips": [{
        "chip": 255,
        "firmware": "0102 03040506 07 08 fF",
        "mode": { "managed": false, "forwarding": true },
        "ports": [
          { "port": 23, "link": true, "speed": 10, "duplex": "half", "self_test": "pass",
            "phy_control": "0x7DFF", "port_control": 255, "pvid": 4095, "priority": 7 },
          { "port": 0, "link": true },
          { "port": 1, "link": true, "phy_control": 0, "pvid": 2306, "priority": 5 },
          { "port": 2, "link": true, "speed": 10, "phy_control": "0x2100", "priority": 1 },
          { "port": 7, "link": false, "self_test": "fail" }
        ],
        "vlan": {
          "enabled": true,
          "entries": [
            { "vid": 1 },
            { "vid": 4094, "valid": false, "field": 31, "upper_map": 0, "lower_map": "0x7FFFFFF" },
            { "vid": "0x123", "valid": true, "field": 1, "upper_map": "0x7FFFFFF" }
          ]
        },
        "addresses": [
          { "mac": "02:00:00:aB:cd:ef", "port": 21, "static": true, "vid": 4095 },
          { "mac": "02:00:00:00:00:01", "port": 1, "static": false },
          { "mac": "02:00:00:00:00:02", "port": 4 }
        ],
        "registers": [
          { "page": "0x34", "offset": 16, "bytes": "0001 fE" },
          { "page": 255, "offset": "0xff", "bytes": "a5" }
        ]
      }, { "chip": 1 }]
    })");
    EXPECT_EQ(scenario.name, "all of it");
    ASSERT_EQ(scenario.chips.size(), 2U);
    const ChipImage &chip = scenario.chips[0];
    EXPECT_EQ(chip.number, 255);
    EXPECT_THAT(chip.firmware, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 0xFF));
    EXPECT_EQ(chip.managed, 0);
    EXPECT_EQ(chip.forwarding, 1);
    const auto port = [&chip](size_t number) {
        const PortImage &p = chip.ports[number];
        return std::array<int, 5>{p.partner, p.partner_fast, p.partner_full_duplex, p.test_failed, p.link_changed};
    };
    EXPECT_THAT(port(23), ElementsAre(1, 0, 0, 0, 0)); // cut off, so there is no link that could be new
    EXPECT_THAT(port(0), ElementsAre(1, 1, 1, 0, 1));
    EXPECT_THAT(port(1), ElementsAre(1, 1, 1, 0, 1));
    EXPECT_THAT(port(2), ElementsAre(1, 0, 1, 0, 0)); // forced to what the partner cannot do
    EXPECT_THAT(port(7), ElementsAre(0, 1, 1, 1, 0));
    const auto word = [&chip](size_t page, size_t offset) {
        return chip.pages[page][offset] << 8 | chip.pages[page][offset + 1];
    };
    EXPECT_EQ(word(0x10 + 23, 0), 0x7DFF);
    EXPECT_EQ(word(0x10, 0), 0x3100);
    EXPECT_EQ(word(0x11, 0), 0x0000);
    EXPECT_EQ(word(0x12, 0), 0x2100);
    EXPECT_EQ(word(0x13, 0), 0x3100);
    EXPECT_EQ(chip.pages[0][0xD0 + 23], 0xFF);
    EXPECT_EQ(chip.pages[0][0xD0 + 22], 0x00);
    EXPECT_EQ(word(0x34, 0x10 + 2 * 23), 0xEFFF);
    EXPECT_EQ(word(0x34, 0x10 + 2 * 1), 0xFE02); // "registers" has the last word about its first byte
    EXPECT_EQ(word(0x34, 0x10 + 2 * 2), 0x2000);
    EXPECT_EQ(chip.pages[0x34][0], 0x80);
    EXPECT_THAT(chip.vlan.entries[1], ElementsAre(0x08, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_THAT(chip.vlan.entries[4094], ElementsAre(0x07, 0xC0, 0, 0, 0x07, 0xFF, 0xFF, 0xFF));
    EXPECT_THAT(chip.vlan.entries[0x123], ElementsAre(0x08, 0x7F, 0xFF, 0xFF, 0xF8, 0, 0, 0));
    EXPECT_THAT(chip.vlan.entries[2], Each(0));
    EXPECT_THAT(chip.address_count, ElementsAre(0, 3));
    EXPECT_THAT(chip.addresses[0].raw, ElementsAre(0, 0x95, 2, 0, 0, 0xAB, 0xCD, 0xEF));
    EXPECT_THAT(chip.addresses[0].vid, ElementsAre(0x0F, 0xFF));
    EXPECT_THAT(chip.addresses[1].raw, ElementsAre(0, 1, 2, 0, 0, 0, 0, 1));
    EXPECT_THAT(chip.addresses[1].vid, ElementsAre(9, 2)); // the port's default VLAN
    EXPECT_THAT(chip.addresses[2].raw, ElementsAre(0, 4, 2, 0, 0, 0, 0, 2));
    EXPECT_THAT(chip.addresses[2].vid, ElementsAre(0, 0));
    EXPECT_EQ(chip.pages[0x34][15], 0);
    EXPECT_EQ(chip.pages[0x34][16], 0x00);
    EXPECT_EQ(chip.pages[0x34][17], 0x01);
    EXPECT_EQ(chip.pages[0x34][18], 0xFE);
    EXPECT_EQ(chip.pages[0x34][19], 0x02);
    EXPECT_EQ(chip.pages[255][255], 0xA5);
    EXPECT_EQ(scenario.chips[1].number, 1);
}

TEST(Scenario, VlansCanBeOff) {
    EXPECT_EQ(parse_scenario(with_chip(R"("vlan":{"enabled":false})")).chips[0].pages[0x34][0], 0);
}

TEST(Scenario, DigestFollowsTheContentsAndNotTheLayout) {
    const uint64_t digest = parse_scenario(R"({"name":"n","chips":[{"chip":0}]})").digest;
    EXPECT_EQ(parse_scenario("{ \"chips\": [\n{\"chip\": 0}],\n \"name\": \"n\"}").digest, digest);
    EXPECT_NE(parse_scenario(R"({"name":"m","chips":[{"chip":0}]})").digest, digest);
    EXPECT_NE(parse_scenario(R"({"name":"n","chips":[{"chip":1}]})").digest, digest);
}

TEST(Scenario, EightChipsAreTheMost) {
    const auto hub = [](int chips) {
        std::string list;
        for (int i = 0; i < chips; ++i) {
            list += (i > 0 ? "," : "") + std::string(R"({"chip":)") + std::to_string(i) + "}";
        }
        return R"({"name":"n","chips":[)" + list + "]}";
    };
    EXPECT_EQ(parse_scenario(hub(8)).chips.size(), 8U);
    EXPECT_EQ(words_about(hub(9)), "chips has 9 elements, at most 8 are possible");
    EXPECT_EQ(parse_scenario(hub(0)).chips.size(), 0U);
}

TEST(Scenario, ProblemsNameLineAndColumn) {
    EXPECT_EQ(
        problem_of("{\n\"name\": \"n\",\n\"chips\": [,]\n}"),
        "line 3, column 11: not valid JSON: syntax error while parsing value - unexpected ','; expected '[', '{', "
        "or a literal");
    EXPECT_EQ(problem_of("{\n\"name\": \"n\",\n\"chips\": [{\"chip\":\n  256}]\n}"),
              "line 4, column 3: chips[0].chip must be a number from 0 to 255");
}

TEST(Scenario, ProblemsQuoteNothingThatSteersATerminal) {
    EXPECT_EQ(words_about(R"({"name":"n","chips":[],"\u001b[2J\n\u007F":1})"),
              "the document has the unknown key \"?[2J??\"");
}

struct BadScenario {
    std::string text;
    std::string problem;
};

TEST(Scenario, MistakesAreNamedByKey) {
    const BadScenario table[] = {
        {"[]", "the document must be an object"},
        {R"({"chips":[]})", "the document lacks the key \"name\""},
        {R"({"name":"n"})", "the document lacks the key \"chips\""},
        {R"({"name":"n","chips":[],"ports":[]})", "the document has the unknown key \"ports\""},
        {R"({"name":"n","name":"m","chips":[]})", "the key \"name\" is twice in one object"},
        {R"({"name":"n","chips":[{"chip":0}],"name":"m"})", "the key \"name\" is twice in one object"},
        {R"({"name":1,"chips":[]})", "name must be a string"},
        {R"({"name":"","chips":[]})", "name must be one line of text"},
        {R"({"name":"a\nb","chips":[]})", "name must be one line of text"},
        {R"({"name":"n","chips":{}})", "chips must be a list"},
        {R"({"name":"n","chips":[1]})", "chips[0] must be an object"},
        {R"({"name":"n","chips":[{}]})", "chips[0] lacks the key \"chip\""},
        {R"({"name":"n","chips":[{"chip":256}]})", "chips[0].chip must be a number from 0 to 255"},
        {R"({"name":"n","chips":[{"chip":-1}]})", "chips[0].chip must be a number from 0 to 255"},
        {R"({"name":"n","chips":[{"chip":1.0}]})", "chips[0].chip must be a number from 0 to 255"},
        {R"({"name":"n","chips":[{"chip":"1"}]})", "chips[0].chip must be a number from 0 to 255"},
        {R"({"name":"n","chips":[{"chip":2},{"chip":2}]})", "chips[1].chip names chip 2 a second time"},
        {with_chip(R"("prots":[])"), "chips[0] has the unknown key \"prots\""},
        {with_chip(R"("firmware":"0102030405060708")"), "chips[0].firmware must have 9 bytes"},
        {with_chip(R"("firmware":"01020304050607080910")"), "chips[0].firmware must have 9 bytes"},
        {with_chip(R"("firmware":"1.4")"), "chips[0].firmware must be pairs of hexadecimal digits"},
        {with_chip(R"("firmware":14)"), "chips[0].firmware must be a string"},
        {with_chip(R"("mode":3)"), "chips[0].mode must be an object"},
        {with_chip(R"("mode":{"managed":true})"), "chips[0].mode lacks the key \"forwarding\""},
        {with_chip(R"("mode":{"managed":1,"forwarding":true})"), "chips[0].mode.managed must be true or false"},
        {with_chip(R"("mode":{"managed":true,"forwarding":true,"x":0})"), "chips[0].mode has the unknown key \"x\""},
        {with_chip(R"("ports":[{"link":true}])"), "chips[0].ports[0] lacks the key \"port\""},
        {with_chip(R"("ports":[{"port":24,"link":true}])"), "chips[0].ports[0].port must be a number from 0 to 23"},
        {with_port(R"("linked":true)"), "chips[0].ports[1] has the unknown key \"linked\""},
        {with_port(R"("speed":10)"), "chips[0].ports[1] lacks the key \"link\""},
        {with_port(R"("link":"up")"), "chips[0].ports[1].link must be true or false"},
        {with_port(R"("link":true,"speed":1000)"), "chips[0].ports[1].speed must be a number from 10 to 100"},
        {with_port(R"("link":true,"speed":50)"), "chips[0].ports[1].speed must be 10 or 100"},
        {with_port(R"("link":true,"duplex":"both")"), R"(chips[0].ports[1].duplex must be "half" or "full")"},
        {with_port(R"("link":true,"duplex":1)"), R"(chips[0].ports[1].duplex must be "half" or "full")"},
        {with_port(R"("link":true,"self_test":"ok")"), R"(chips[0].ports[1].self_test must be "pass" or "fail")"},
        {with_port(R"("link":true,"self_test":"fail")"),
         "chips[0].ports[1] cannot have a link, because its self-test failed"},
        {with_port(R"("link":true},{"port":3,"link":true)"), "chips[0].ports[2].port names port 3 a second time"},
        {with_port(R"("link":true,"phy_control":"0x10000")"),
         "chips[0].ports[1].phy_control must be a number from 0 to 65535"},
        {with_port(R"("link":true,"phy_control":"0x8000")"),
         "chips[0].ports[1].phy_control has bit 15 or 9 set, which always read as 0"},
        {with_port(R"("link":true,"phy_control":"0x0200")"),
         "chips[0].ports[1].phy_control has bit 15 or 9 set, which always read as 0"},
        {with_port(R"("link":true,"port_control":256)"),
         "chips[0].ports[1].port_control must be a number from 0 to 255"},
        {with_port(R"("link":true,"pvid":4096)"), "chips[0].ports[1].pvid must be a number from 0 to 4095"},
        {with_port(R"("link":true,"priority":8)"), "chips[0].ports[1].priority must be a number from 0 to 7"},
        {with_chip(R"("seed":-1)"), "chips[0].seed must be a number from 0 to 4294967295"},
        {with_port(R"("link":true,"rates":{})"), "chips[0].ports[1].rates must be a list"},
        {with_port(R"("link":true,"rates":[{"offset":1,"per_second":1}])"),
         "chips[0].ports[1].rates[0].offset is not where a counter begins"},
        {with_port(R"("link":true,"rates":[{"offset":12,"per_second":1}])"),
         "chips[0].ports[1].rates[0].offset is not where a counter begins"},
        {with_port(R"("link":true,"rates":[{"offset":0}])"), "chips[0].ports[1].rates[0] lacks the key \"per_second\""},
        {with_port(R"("link":true,"rates":[{"offset":0,"per_second":4294967296}])"),
         "chips[0].ports[1].rates[0].per_second must be a number from 0 to 4294967295"},
        {with_port(R"("link":true,"rates":[{"offset":0,"per_second":1},{"offset":0,"per_second":1}])"),
         "chips[0].ports[1].rates[1].offset names offset 0 a second time"},
        {with_port(R"("link":true,"rates":[{"offset":0,"per_second":1,"x":1}])"),
         "chips[0].ports[1].rates[0] has the unknown key \"x\""},
        {with_chip(R"("vlan":[])"), "chips[0].vlan must be an object"},
        {with_chip(R"("vlan":{})"), "chips[0].vlan lacks the key \"enabled\""},
        {with_chip(R"("vlan":{"enabled":1})"), "chips[0].vlan.enabled must be true or false"},
        {with_chip(R"("vlan":{"enabled":true,"vids":[]})"), "chips[0].vlan has the unknown key \"vids\""},
        {with_vlan_entry(R"("valid":true)"), "chips[0].vlan.entries[1] lacks the key \"vid\""},
        {with_vlan_entry(R"("vid":0)"), "chips[0].vlan.entries[1].vid must be a number from 1 to 4094"},
        {with_vlan_entry(R"("vid":4095)"), "chips[0].vlan.entries[1].vid must be a number from 1 to 4094"},
        {with_vlan_entry(R"("vid":7)"), "chips[0].vlan.entries[1].vid names vid 7 a second time"},
        {with_vlan_entry(R"("vid":8,"valid":1)"), "chips[0].vlan.entries[1].valid must be true or false"},
        {with_vlan_entry(R"("vid":8,"field":32)"), "chips[0].vlan.entries[1].field must be a number from 0 to 31"},
        {with_vlan_entry(R"("vid":8,"upper_map":"0x8000000")"),
         "chips[0].vlan.entries[1].upper_map must be a number from 0 to 134217727"},
        {with_vlan_entry(R"("vid":8,"lower_map":"0x8000000")"),
         "chips[0].vlan.entries[1].lower_map must be a number from 0 to 134217727"},
        {with_vlan_entry(R"("vid":8,"ports":1)"), "chips[0].vlan.entries[1] has the unknown key \"ports\""},
        {with_chip(R"("addresses":[{"port":1}])"), "chips[0].addresses[0] lacks the key \"mac\""},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00","port":1}])"),
         "chips[0].addresses[0].mac must be a MAC address such as \"02:00:00:00:00:01\""},
        {with_chip(R"("addresses":[{"mac":"020000000001","port":1}])"),
         "chips[0].addresses[0].mac must be a MAC address such as \"02:00:00:00:00:01\""},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:0g","port":1}])"),
         "chips[0].addresses[0].mac must be a MAC address such as \"02:00:00:00:00:01\""},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:01"}])"), "chips[0].addresses[0] lacks the key \"port\""},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:01","port":24}])"),
         "chips[0].addresses[0].port must be a number from 0 to 23"},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:01","port":2,"vid":4096}])"),
         "chips[0].addresses[0].vid must be a number from 0 to 4095"},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:01","port":2,"silent":0}])"),
         "chips[0].addresses[0].silent must be true or false"},
        {with_chip(R"("addresses":[{"mac":"02:00:00:00:00:01","port":2,"static":0}])"),
         "chips[0].addresses[0].static must be true or false"},
        {with_chip(R"("registers":[{"page":"0x100","offset":0,"bytes":"00"}])"),
         "chips[0].registers[0].page must be a number from 0 to 255"},
        {with_chip(R"("registers":[{"page":"0x","offset":0,"bytes":"00"}])"),
         "chips[0].registers[0].page must be a number from 0 to 255"},
        {with_chip(R"("registers":[{"page":2,"offset":"7","bytes":"00"}])"),
         "chips[0].registers[0].offset must be a number from 0 to 255"},
        {with_chip(R"("registers":[{"page":2,"offset":0,"bytes":"123"}])"),
         "chips[0].registers[0].bytes must be pairs of hexadecimal digits"},
        {with_chip(R"("registers":[{"page":2,"offset":0,"bytes":""}])"),
         "chips[0].registers[0].bytes must be pairs of hexadecimal digits"},
        {with_chip(R"("registers":[{"page":2,"offset":255,"bytes":"1234"}])"),
         "chips[0].registers[0].bytes must end within the page of 256 bytes"},
        {with_chip(R"("registers":[{"page":1,"offset":"0x1f","bytes":"12"}])"),
         "chips[0].registers[0] covers a register that \"ports\" states"},
        {with_chip(R"("registers":[{"page":0,"offset":0,"bytes":"12"}])"),
         "chips[0].registers[0] covers a register that \"mode\" states"},
        {with_chip(R"("registers":[{"page":8,"offset":"0x2f","bytes":"1234"}])"),
         "chips[0].registers[0] covers a register that \"vlan\" states"},
    };
    for (const BadScenario &row : table) {
        EXPECT_EQ(words_about(row.text), row.problem) << row.text;
    }
}

TEST(Scenario, TheBuiltInHubIsTheFileAndHasSomeOfEverything) {
    const std::string text = hwa_test::contents(HWA_SCENARIOS "/default.json");
    EXPECT_EQ(text, kDefaultScenario);
    const Scenario scenario = parse_scenario(text);
    ASSERT_EQ(scenario.chips.size(), 2U);
    EXPECT_EQ(scenario.chips[0].number, 0);
    EXPECT_EQ(scenario.chips[1].number, 1);
    for (const ChipImage &chip : scenario.chips) {
        const auto links = [&chip](auto property) {
            size_t count = 0;
            for (size_t port = 0; port < kPorts; ++port) {
                count += property(link_of(chip, port));
            }
            return count;
        };
        EXPECT_GT(links([](const Link &link) { return !link.up; }), 0U);
        EXPECT_GT(links([](const Link &link) { return link.up && link.fast; }), 0U);
        EXPECT_GT(links([](const Link &link) { return link.up && !link.fast; }), 0U);
        EXPECT_GT(links([](const Link &link) { return link.up && link.full_duplex; }), 0U);
        EXPECT_GT(links([](const Link &link) { return link.up && !link.full_duplex; }), 0U);
        EXPECT_NE(from_bytes(chip.address_count), 0U);
        // A port with a learned address has a link.
        for (size_t i = 0; i < from_bytes(chip.address_count); ++i) {
            EXPECT_TRUE(link_of(chip, port_of(chip.addresses[i])).up) << "address " << i;
        }
        // A port is a member of the VLAN that its frames go into.
        for (size_t port = 0; port < kPorts; ++port) {
            const size_t pvid = (chip.pages[0x34][0x10 + 2 * port] & 0x0FU) << 8 | chip.pages[0x34][0x11 + 2 * port];
            const uint64_t entry = from_bytes(chip.vlan.entries.at(pvid));
            EXPECT_EQ(entry >> 59, 1U) << "port " << port;
            EXPECT_EQ(entry >> port & 1, 1U) << "port " << port;
        }
    }
}

TEST(Scenario, TheExampleOfAFaultyChipHasTwoFailedPorts) {
    const Scenario scenario = load_scenario(HWA_SCENARIOS "/faulty.json");
    const auto &ports = scenario.chips.at(0).ports;
    EXPECT_EQ(std::count_if(ports.begin(), ports.end(), [](const PortImage &port) { return port.test_failed != 0; }),
              2);
}

TEST(Scenario, TheExampleOfABusyChipMovesAndAges) {
    const Scenario scenario = load_scenario(HWA_SCENARIOS "/busy.json");
    const ChipImage &chip = scenario.chips.at(0);
    EXPECT_EQ(from_bytes(chip.seed), 1U);
    EXPECT_EQ(from_bytes(chip.rates[0][0]), 3200000U); // 0x00
    EXPECT_EQ(from_bytes(chip.rates[1][17]), 240000U); // 0x7C
    EXPECT_EQ(from_bytes(chip.rates[1][21]), 3U);      // 0x98
    EXPECT_EQ(from_bytes(chip.rates[2][0]), 0U);
    EXPECT_EQ(chip.addresses[2].silent, 0);
    EXPECT_EQ(chip.addresses[3].silent, 1);
}

TEST(Scenario, AFileThatCannotBeReadIsNamedByItsError) {
    const auto problem = [](const std::string &path) -> std::string {
        try {
            load_scenario(path);
        } catch (const Unusable &unusable) {
            return unusable.what();
        }
        return "none";
    };
    const hwa_test::TemporaryFolder folder;
    EXPECT_EQ(problem(folder / "none.json"), (folder / "none.json") + " cannot be read: No such file or directory");
    EXPECT_EQ(problem(folder.path()), folder.path() + " cannot be read: Is a directory");
    hwa_test::write_file(folder / "bad.json", "{\n}");
    EXPECT_EQ(problem(folder / "bad.json"),
              (folder / "bad.json") + ", line 1, column 1: the document lacks the key \"name\"");
}

} // namespace
} // namespace hwa
