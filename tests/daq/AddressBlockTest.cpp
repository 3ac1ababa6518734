#include "daq/AddressBlock.h"

#include "TalvexRecords.h"

#include <gtest/gtest.h>

namespace {

/// Takes a block as the readers do, so that the records convert by themselves.
AddressBlock blockOf(const AddressBlock& block) {
    return block;
}

TEST(AddressBlock, IsMadeFromAVariable) {
    mcMeasureVariable variable;
    variable.type = 3;
    variable.size = 0x01020304;
    variable.addressExtension = 7;
    variable.address = 0xA0B0C0D0;
    const AddressBlock block = blockOf(variable);
    EXPECT_EQ(block.type, 3);
    EXPECT_EQ(block.size, 0x01020304U);
    EXPECT_EQ(block.addressExtension, 7);
    EXPECT_EQ(block.address, 0xA0B0C0D0U);
}

TEST(AddressBlock, IsMadeFromAnOdtEntry) {
    DaqOdtEntry entry;
    entry.type = 4;
    entry.size = 2;
    entry.addressExtension = 1;
    entry.address = 0x1000;
    const AddressBlock block = blockOf(entry);
    EXPECT_EQ(block.type, 4);
    EXPECT_EQ(block.size, 2U);
    EXPECT_EQ(block.addressExtension, 1);
    EXPECT_EQ(block.address, 0x1000U);
}

TEST(AddressBlock, NewHasTheTypeOfANewVariable) {
    EXPECT_EQ(AddressBlock().type, 255);
    EXPECT_EQ(blockOf(DaqOdtEntry()).type, 255);
    EXPECT_EQ(blockOf(mcMeasureVariable()).type, 255);
}

}  // namespace
