// SPDX-License-Identifier: Apache-2.0
// The messages about files that cannot be used. The lines of each document are counted from 1.
#include "expectation.h"
#include "files.h"

#include <regex>
#include <sys/stat.h>
#include <unistd.h>

namespace kslcfg {
namespace {

// The problem with its line; columns are tested with the reader of documents.
std::string problem_with(const std::string &text) {
    try {
        parse(text);
    } catch (const Unusable &problem) {
        return std::regex_replace(problem.what(), std::regex("^(line [0-9]+), column [0-9]+:"), "$1:");
    }
    return "no problem";
}

struct Case {
    const char *text; // the whole document, or its lines from 3 on, after the PVIDs of all ports
    const char *problem;
};

constexpr Case kDocuments[] = {
    {"{\n\n", "line 3: not valid JSON: syntax error while parsing object key - unexpected end of input; expected "
              "string literal"},
    {"\n[]", "line 2: the document must be an object"},
    {"\n{\n}", "line 2: the document lacks the key \"pvids\""},
    {"{\n\"pvid\": []}", "line 2: the document has the unknown key \"pvid\""},
    {"{\"pvids\":\n{}}", "line 2: pvids must be a list"},
    {"{\"pvids\":\n[]}", "line 2: pvids must name every port, and port 0 is missing"},
    {"{\"pvids\": [\n{\"ports\": [\"0-22\"], \"vid\": 1}\n]}",
     "line 1: pvids must name every port, and port 23 is missing"},
    {"{\"pvids\": [\n{\"ports\": [\"0-5\", \"7-23\"], \"vid\": 1}\n]}",
     "line 1: pvids must name every port, and port 6 is missing"},
    {"{\"pvids\": [\n\n7]}", "line 3: pvids[0] must be an object"},
    {"{\"pvids\": [\n{\"vid\": 1}]}", "line 2: pvids[0] lacks the key \"ports\""},
    {"{\"pvids\": [\n{\"ports\": []}]}", "line 2: pvids[0] lacks the key \"vid\""},
    {"{\"pvids\": [\n{\"ports\": [], \"vid\": 1,\n\"port\": 0}]}", "line 3: pvids[0] has the unknown key \"port\""},
    {"{\"pvids\": [\n{\"ports\": 3, \"vid\": 1}]}", "line 2: pvids[0].ports must be a list"},
    {"{\"pvids\": [\n{\"ports\": [\n0,\n24], \"vid\": 1}]}", "line 4: pvids[0].ports[1] must be a number from 0 to 23"},
    {"{\"pvids\": [\n{\"ports\": [\"0-24\"], \"vid\": 1}]}",
     "line 2: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"5-4\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"5\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"5-\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"-5\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"5-6x\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"5+6\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [\"0-4294967296\"]}]}", "line 1: pvids[0].ports[0] must be a range within \"0-23\""},
    {"{\"pvids\": [{\"ports\": [5, \"4-6\"], \"vid\": 1}]}", "line 1: pvids[0].ports[1] names 5 a second time"},
    {"{\"pvids\": [{\"ports\": [\"0-9\"], \"vid\": 1},\n{\"ports\": [\"9-23\"], \"vid\": 1}]}",
     "line 2: pvids[1].ports names port 9, which an earlier row names"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": 4096}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": -1}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": 1.0}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": null}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": true}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": 4294967297}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": 18446744073709551617}]}",
     "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": \"12\"}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": \"1012\"}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": \"0x\"}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": \"0x1g\"}]}", "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0],\n\"vid\": \"0x10000000000000001\"}]}",
     "line 2: pvids[0].vid must be a number from 0 to 4095"},
    {"{\"pvids\": [{\"ports\": [0], \"vid\": 1,\n\"priority\": 8}]}",
     "line 2: pvids[0].priority must be a number from 0 to 7"},
};

constexpr Case kRest[] = {
    {"\"name\": 5", "line 3: name must be a string"},
    {"\"name\": \"a\\nb\"", "line 3: name must be one line of text"},
    {"\"vlans\": 1", "line 3: vlans must be a list"},
    {"\"vlans\": [1]", "line 3: vlans[0] must be an object"},
    {"\"vlans\": [\n{\"upper\": [], \"lower\": []}]", "line 4: vlans[0] lacks the key \"vid\""},
    {"\"vlans\": [\n{\"vid\": 1, \"lower\": []}]", "line 4: vlans[0] lacks the key \"upper\""},
    {"\"vlans\": [\n{\"vid\": 1, \"upper\": []}]", "line 4: vlans[0] lacks the key \"lower\""},
    {"\"vlans\": [\n{\"vid\": 1, \"uper\": []}]", "line 4: vlans[0] has the unknown key \"uper\""},
    {"\"vlans\": [{\"vid\":\n0}]", "line 4: vlans[0].vid must be a number from 1 to 4094"},
    {"\"vlans\": [{\"vid\":\n4095}]", "line 4: vlans[0].vid must be a number from 1 to 4094"},
    {"\"vlans\": [{\"vid\": 9, \"upper\": [], \"lower\": []},\n{\"vid\":\n\"0x9\"}]",
     "line 5: vlans[1].vid names VLAN 9, which an earlier row names"},
    {"\"vlans\": [{\"vid\": 9,\n\"valid\": 1}]", "line 4: vlans[0].valid must be true or false"},
    {"\"vlans\": [{\"vid\": 9,\n\"field\": 32}]", "line 4: vlans[0].field must be a number from 0 to 31"},
    {"\"vlans\": [{\"vid\": 9,\n\"upper\": 3}]",
     "line 4: vlans[0].upper must be a list of numbers from 0 to 26, or a mask such as \"0x7FFFFFF\""},
    {"\"vlans\": [{\"vid\": 9,\n\"upper\": \"3\"}]",
     "line 4: vlans[0].upper must be a list of numbers from 0 to 26, or a mask such as \"0x7FFFFFF\""},
    {"\"vlans\": [{\"vid\": 9,\n\"upper\": \"0x8000000\"}]",
     "line 4: vlans[0].upper must be a list of numbers from 0 to 26, or a mask such as \"0x7FFFFFF\""},
    {"\"vlans\": [{\"vid\": 9,\n\"upper\": [27]}]", "line 4: vlans[0].upper[0] must be a number from 0 to 26"},
    {"\"vlans\": [{\"vid\": 9, \"upper\": [],\n\"lower\": [1,\n1]}]",
     "line 5: vlans[0].lower[1] names 1 a second time"},
    {"\"registers\": {}", "line 3: registers must be a list"},
    {"\"registers\": [\n{\"offset\": 0, \"bytes\": \"00\"}]", "line 4: registers[0] lacks the key \"page\""},
    {"\"registers\": [\n{\"page\": 0, \"bytes\": \"00\"}]", "line 4: registers[0] lacks the key \"offset\""},
    {"\"registers\": [\n{\"page\": 0, \"offset\": 0}]", "line 4: registers[0] lacks the key \"bytes\""},
    {"\"registers\": [{\"page\": 0,\n\"value\": 0}]", "line 4: registers[0] has the unknown key \"value\""},
    {"\"registers\": [{\"page\":\n256}]", "line 4: registers[0].page must be a number from 0 to 255"},
    {"\"registers\": [{\"page\": 0, \"offset\":\n256}]", "line 4: registers[0].offset must be a number from 0 to 255"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": 80}]", "line 4: registers[0].bytes must be a string"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"8\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"8g\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \" 80\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"80 \"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"80  80\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 0,\n\"bytes\": \"000102030405060708\"}]",
     "line 4: registers[0].bytes must be 1 to 8 pairs of hexadecimal digits"},
    {"\"registers\": [{\"page\": 0, \"offset\": 255,\n\"bytes\": \"0001\"}]",
     "line 4: registers[0].bytes must end within the page of 256 bytes"},
    {"\"registers\": [\n{\"page\": \"0x34\", \"offset\": 16, \"bytes\": \"00\"}]",
     "line 4: registers[0] covers the PVID of a port, which \"pvids\" states"},
    {"\"registers\": [\n{\"page\": \"0x34\", \"offset\": 63, \"bytes\": \"00\"}]",
     "line 4: registers[0] covers the PVID of a port, which \"pvids\" states"},
    {"\"registers\": [\n{\"page\": \"0x34\", \"offset\": 15, \"bytes\": \"0000\"}]",
     "line 4: registers[0] covers the PVID of a port, which \"pvids\" states"},
    {"\"registers\": [\n{\"page\": 8, \"offset\": 48, \"bytes\": \"00\"}]",
     "line 4: registers[0] covers the access to the VLAN table, which \"vlans\" states"},
    {"\"registers\": [\n{\"page\": 8, \"offset\": 63, \"bytes\": \"00\"}]",
     "line 4: registers[0] covers the access to the VLAN table, which \"vlans\" states"},
    {"\"registers\": [\n{\"page\": 8, \"offset\": 41, \"bytes\": \"0000000000000000\"}]",
     "line 4: registers[0] covers the access to the VLAN table, which \"vlans\" states"},
    {"\"registers\": [{\"page\": 1, \"offset\": 4, \"bytes\": \"0000\"},\n{\"page\": 1, \"offset\": 5, \"bytes\": \"00\"}]",
     "line 4: registers[1] covers a byte that an earlier row states"},
};

TEST(ParseExpectation, RefusesWrongDocuments) {
    for (const Case &bad : kDocuments) {
        EXPECT_EQ(problem_with(bad.text), bad.problem) << bad.text;
    }
}

TEST(ParseExpectation, RefusesWrongValuesAfterThePvids) {
    const std::string start = "{\n\"pvids\": [{\"ports\": [\"0-23\"], \"vid\": 1}],\n";
    for (const Case &bad : kRest) {
        EXPECT_EQ(problem_with(start + bad.text + "}"), bad.problem) << bad.text;
    }
}

using LoadExpectation = cfg_test::FileTest;

std::string problem_of(const std::string &path) {
    try {
        load(path);
    } catch (const Unusable &problem) {
        return problem.what();
    }
    return "no problem";
}

TEST_F(LoadExpectation, ReadsAFile) {
    write(R"({"name": "here", "pvids": [{"ports": ["0-23"], "vid": 1}]})");
    EXPECT_EQ(load(file).name, "here");
}

TEST_F(LoadExpectation, LeavesNoFileOpen) {
    const auto next_free = [] {
        const int number = dup(STDERR_FILENO);
        close(number);
        return number;
    };
    const int before = next_free();
    write("{}");
    EXPECT_NE(problem_of(file), "no problem");
    EXPECT_NE(problem_of(folder), "no problem");
    EXPECT_EQ(next_free(), before);
}

TEST_F(LoadExpectation, NamesTheFileAndTheLine) {
    write("{\n\n\"pvid\": []}");
    EXPECT_EQ(problem_of(file), file + ", line 3, column 1: the document has the unknown key \"pvid\"");
}

TEST_F(LoadExpectation, RefusesWhatIsNoFile) {
    EXPECT_EQ(problem_of(file), file + " cannot be read: No such file or directory");
    EXPECT_EQ(problem_of(folder), folder + " is not a regular file");
    EXPECT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(problem_of(file), file + " is not a regular file");
    EXPECT_EQ(problem_of(file + "/x"), file + "/x cannot be read: Not a directory");
}

} // namespace
} // namespace kslcfg
