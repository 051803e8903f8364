// SPDX-License-Identifier: Apache-2.0
#include "hub.h"
#include "kslctl/hub/any_register.h"

#include <gmock/gmock.h>

namespace {

using namespace kslctl::hub;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

using AnyRegister = hub_test::HubTest;

TEST_F(AnyRegister, IsReadAtItsPlace) {
    open();
    Failures failures;
    EXPECT_EQ(read(register_at(0x34, 0x16, 2), 0, 0, failures), Fact<Bytes>(Bytes{0x20, 0x64}));
    EXPECT_EQ(read(register_at(0x34, 0x16, 1), 0, 0, failures), Fact<Bytes>(Bytes{0x20}));
    EXPECT_THAT(failures, IsEmpty());
}

TEST_F(AnyRegister, IsWrittenWhole) {
    open();
    Failures failures;
    const Register which = register_at(0x34, 0x10, 8);
    const Bytes bytes = {0, 1, 0, 2, 0, 3, 0, 4};
    const Changes changes = change_chip(0, new_bytes(which, bytes), false, failures);
    EXPECT_THAT(failures, IsEmpty());
    ASSERT_THAT(changes.registers, SizeIs(1));
    EXPECT_EQ(changes.registers[0].after, Fact<Bytes>(bytes));
    EXPECT_EQ(read(registers::pvid, 0, 2, failures), Fact<Bytes>(Bytes{0, 3}));
}

TEST_F(AnyRegister, AFailedReadIsNamed) {
    open("getreg page=0x34 code=17");
    Failures failures;
    read(register_at(0x34, 0x16, 2), 0, 0, failures);
    EXPECT_THAT(failures, ElementsAre(Failure{0, "dbg_ksl_get_reg", "register (page 0x34, offset 0x16)", 17}));
}

TEST_F(AnyRegister, AFailedWriteLeavesIt) {
    open("setreg page=0x34 code=17");
    Failures failures;
    const Register which = register_at(0x34, 0x16, 2);
    const Changes changes = change_chip(0, new_bytes(which, {0x20, 0xC8}), false, failures);
    EXPECT_THAT(failures,
                ElementsAre(Failure{0, "dbg_ksl_set_reg", "register (page 0x34, offset 0x16)", 17, "not written"}));
    EXPECT_EQ(changes.registers[0].after, Fact<Bytes>(Bytes{0x20, 0x64}));
}

} // namespace
