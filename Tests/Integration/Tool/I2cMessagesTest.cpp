#include <I2cMessages.h>

#include <Failure.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

/// The messages in the words that they were read from.
std::string Describe(const std::vector<I2cMessage>& aMessages)
{
    std::string text;
    for (const I2cMessage& message : aMessages)
    {
        const std::string address = "@" + FormatByte(message.mAddress) + ' ';
        text += message.mIsRead
                    ? "r" + std::to_string(message.mReadLength) + address
                    : "w" + std::to_string(message.mData.size()) + address + FormatBytes(message.mData) + ' ';
    }
    return text;
}

std::string Refuse(const std::vector<std::string>& aWords)
{
    return GetComplaint(STATUS_USAGE, [&] { ParseI2cMessages(aWords); });
}

} // namespace

TEST(I2cMessages, AreReadWordByWord)
{
    EXPECT_EQ(Describe(ParseI2cMessages({"w2@0x50", "0x00", "16", "r16"})), "w2@0x50 0x00 0x10 r16@0x50 ");
    EXPECT_EQ(Describe(ParseI2cMessages({"r0x10@0b1001000", "w1", "0xff", "r1@0"})), "r16@0x48 w1@0x48 0xff r1@0x00 ");
    EXPECT_EQ(Describe(ParseI2cMessages({"r16383@127"})), "r16383@0x7f ");
}

TEST(I2cMessages, AreReadsOrWrites)
{
    const std::string rest = " is no message: a message is rLENGTH[@ADDRESS] or wLENGTH[@ADDRESS] BYTE...";
    EXPECT_EQ(Refuse({"x2@0x50"}), "'x2@0x50'" + rest);
    EXPECT_EQ(Refuse({""}), "''" + rest);
    EXPECT_EQ(Refuse({"r2@0x50", "0x00"}), "'0x00'" + rest);
    EXPECT_EQ(Refuse({"w1@0x50", "0x00", "0x10"}), "'0x10'" + rest);
}

TEST(I2cMessages, BeginWithAnAddress)
{
    EXPECT_EQ(Refuse({"w2", "0x00", "0x10"}), "the first message needs an address: 'w2@ADDRESS'");
    EXPECT_EQ(Refuse({"r1@0x80"}),
              "the address of 'r1@0x80' cannot be '0x80': it can be a number from 0 to 127 (0x7f)");
    EXPECT_EQ(Refuse({"r1@"}), "the address of 'r1@' cannot be '': it can be a number from 0 to 127 (0x7f)");
}

TEST(I2cMessages, HaveALength)
{
    EXPECT_EQ(Refuse({"r@0x50"}), "the length of 'r@0x50' cannot be '': it can be a number from 1 to 16383 (0x3fff)");
    EXPECT_EQ(Refuse({"r16384@0x50"}),
              "the length of 'r16384@0x50' cannot be '16384': it can be a number from 1 to 16383 (0x3fff)");
    EXPECT_EQ(Refuse({"r1@0x50", "w254"}),
              "the length of 'w254' cannot be '254': it can be a number from 1 to 253 (0xfd)");
    EXPECT_EQ(Refuse({"w0@0x50"}), "the length of 'w0@0x50' cannot be '0': it can be a number from 1 to 253 (0xfd)");
}

TEST(I2cMessages, HaveAsManyBytesAsTheyWrite)
{
    EXPECT_EQ(Refuse({"w2@0x50", "0x00"}), "'w2@0x50' needs 2 bytes, but only 1 follow");
    EXPECT_EQ(Refuse({"w2@0x50", "0x00", "r16"}),
              "byte 2 of 'w2@0x50' cannot be 'r16': it can be a number from 0 to 255 (0xff)");
    EXPECT_EQ(Refuse({"w1@0x50", "256"}),
              "byte 1 of 'w1@0x50' cannot be '256': it can be a number from 0 to 255 (0xff)");
}
