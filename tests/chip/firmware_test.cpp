// SPDX-License-Identifier: Apache-2.0
#include "output.h"
#include "scripted_test.h"

#include "chip/trace_points.h"

#include <cstring>

namespace ksl::test {
namespace {

class FirmwareVersion : public Opened {
protected:
    FirmwareVersion() {
        platform.on_engpowercmd = [this](const uint8_t *bytes, uint32_t size, uint8_t *answer, uint32_t *room) {
            command.assign(bytes, bytes + size);
            room_before = *room;
            call = entry_point("hwa_engpowercmd",
                               {whole_address(bytes), size, whole_address(answer), whole_address(room)});
            aligned = whole_address(answer) % 16 == 0;
            // All the room that it gives, so that a smaller buffer is noticed.
            std::memset(answer, 0x99, 40);
            std::memcpy(answer, response.data(), response.size());
            *room = answered;
        };
    }

    Bytes response{0x10, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98, 0xA9, 0xBA};
    uint32_t answered = 11;
    Bytes command;
    uint32_t room_before = 0;
    bool aligned = false;
    Call call;
    Output version;
    uint32_t length = 77;
};

TEST_F(FirmwareVersion, IsTheBeginningOfTheHubsAnswer) {
    EXPECT_EQ(ksl_read_EPN_firmware_version(0x102, version, &length), 0);
    EXPECT_EQ(length, 9u);
    EXPECT_TRUE(version.holds({0x10, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98}));
    EXPECT_EQ(platform.take(),
              (Calls{
                  stamp_start(),
                  record(points::read_epn_firmware_version_entry, 0x102),
                  call,
                  record(points::read_epn_firmware_version_answer, 0x10, 0x21, 0x43, 0x65, 0x76, 0x87, 0x98),
                  record(points::read_epn_firmware_version_exit, 0),
                  stamp_end(),
              }));
}

TEST_F(FirmwareVersion, IsAskedForByAFixedCommandWithTheChipsLowByte) {
    for (const uint32_t chip : {0u, 0x105u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ksl_read_EPN_firmware_version(chip, version, &length), 0);
        EXPECT_EQ(command,
                  (Bytes{0x08, 0x78, 0, 0, 0, 0, 0, 0, 0, 0, static_cast<uint8_t>(chip), 0x03, 0x00, 0xA2, 0x02}));
        EXPECT_EQ(room_before, 40u);
        EXPECT_TRUE(aligned);
    }
}

TEST_F(FirmwareVersion, HasNineBytesWhateverTheAnswersLength) {
    for (const uint32_t claimed : {0u, 3u, 40u, 0xFFFFFFFFu}) {
        answered = claimed;
        length = 77;
        EXPECT_EQ(ksl_read_EPN_firmware_version(0, version, &length), 0);
        EXPECT_EQ(length, 9u);
        EXPECT_TRUE(version.holds({0x10, 0x21, 0x32, 0x43, 0x54, 0x65, 0x76, 0x87, 0x98}));
    }
}

TEST_F(FirmwareVersion, IsZeroIfTheHubAnswersNothing) {
    platform.on_engpowercmd = nullptr;
    EXPECT_EQ(ksl_read_EPN_firmware_version(0, version, &length), 0);
    EXPECT_TRUE(version.holds(Bytes(9, 0)));
}

TEST_F(FirmwareVersion, AFailureLeavesTheCallersBuffers) {
    for (const int32_t code : kFailureCodes) {
        platform.result = code;
        EXPECT_EQ(ksl_read_EPN_firmware_version(3, version, &length), code);
        EXPECT_EQ(length, 77u);
        EXPECT_TRUE(version.holds({}));
        EXPECT_EQ(platform.take(), (Calls{
                                       stamp_start(),
                                       record(points::read_epn_firmware_version_entry, 3),
                                       call,
                                       record(points::read_epn_firmware_version_command_failed),
                                       record(points::read_epn_firmware_version_exit, code),
                                       stamp_end(),
                                   }));
    }
    platform.missing_entry_points = {"hwa_engpowercmd"};
    EXPECT_EQ(ksl_read_EPN_firmware_version(3, version, &length), -1);
    EXPECT_EQ(length, 77u);
    EXPECT_TRUE(version.holds({}));
    EXPECT_EQ(platform.take(), (Calls{
                                   stamp_start(),
                                   record(points::read_epn_firmware_version_entry, 3),
                                   lookup_missing("hwa_engpowercmd"),
                                   record(points::engpowercmd_missing),
                                   record(points::read_epn_firmware_version_command_failed),
                                   record(points::read_epn_firmware_version_exit, -1),
                                   stamp_end(),
                               }));
}

} // namespace
} // namespace ksl::test
