#include "UartFixture.h"

#include <KoSim/Loopback.h>

#include <atomic>
#include <memory>
#include <thread>

using namespace KoSim;

TEST(UartThreadsTest, KeepsTheTwoUartsOfADeviceApart)
{
    const std::string first = MakeText(4096, 1);
    const std::string second = MakeText(4096, 2);
    SimulatedDevice device;
    device.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    device.SetLineEnd(Port::Uart1, std::make_shared<Loopback>());
    KoDeviceSerialPort uart0;
    KoDeviceSerialPort uart1;
    ASSERT_TRUE(uart0.Open(&device, KoDeviceSerialUart0).IsOK());
    ASSERT_TRUE(uart1.Open(&device, KoDeviceSerialUart1).IsOK());
    std::thread writers[] = {std::thread([&] { EXPECT_TRUE(Write(uart0, first)); }),
                             std::thread([&] { EXPECT_TRUE(Write(uart1, second)); })};
    std::thread readers[] = {std::thread([&] { EXPECT_EQ(Read(uart0, first.size()), first); }),
                             std::thread([&] { EXPECT_EQ(Read(uart1, second.size()), second); })};
    for (int i = 0; i < 2; ++i)
    {
        writers[i].join();
        readers[i].join();
    }

    EXPECT_EQ(GetBytesReady(uart0), 0U);
    EXPECT_EQ(GetBytesReady(uart1), 0U);
    EXPECT_TRUE(uart0.Close().IsOK());
    EXPECT_TRUE(uart1.Close().IsOK());
}

TEST(UartThreadsTest, WakesAReaderThatWaitsForAByte)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    std::thread reader([&] { EXPECT_EQ(Read(port, 1), "A"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    lineEnd->Send("A");
    reader.join();

    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartThreadsTest, MissesNoByteBetweenTwoReads)
{
    constexpr std::size_t ROUNDS = 500;
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    const std::string text = MakeText(ROUNDS);
    std::thread sender(
        [&]
        {
            for (const char byte : text)
            {
                lineEnd->Send(std::string(1, byte));
            }
        });
    std::string received;
    for (std::size_t i = 0; i < ROUNDS; ++i)
    {
        received += Read(port, 1);
    }
    sender.join();

    EXPECT_EQ(received, text);
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartThreadsTest, ShowsTheProgressOfAWriteToAnotherThread)
{
    constexpr std::uint32_t LENGTH = 100;
    SimulatedDevice device;
    KoDeviceSerialPort port;
    std::uint32_t arrived = 0;
    // Byte number n reaches the far end while its write is under way or waits for the confirmation.
    device.SetLineEnd(Port::Uart0, std::make_shared<TestLineEnd>(
                                       [&]
                                       {
                                           std::uint32_t written = 0;
                                           std::uint32_t total = 0;
                                           EXPECT_TRUE(port.GetWriteProgress(written, total).IsOK());
                                           EXPECT_EQ(total, LENGTH);
                                           EXPECT_GE(written, arrived);
                                           EXPECT_LE(written, arrived + 1);
                                           ++arrived;
                                       }));
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(Write(port, MakeText(LENGTH)));

    std::uint32_t written = 0;
    std::uint32_t total = 0;
    EXPECT_TRUE(port.GetWriteProgress(written, total).IsOK());
    EXPECT_EQ(written, LENGTH);
    EXPECT_EQ(total, LENGTH);
    EXPECT_EQ(arrived, LENGTH);
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartThreadsTest, LetsTheRingBeResizedWhileBytesComeIn)
{
    constexpr char LAST = '\xFF';
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    std::atomic<bool> done{false};
    std::thread sender(
        [&]
        {
            const std::string piece(300, 'x');
            while (!done)
            {
                if (lineEnd->GetRoom() >= piece.size())
                {
                    lineEnd->Send(piece);
                }
            }
        });
    std::thread reader(
        [&]
        {
            for (std::string piece = "x"; piece.back() != LAST;)
            {
                piece = Read(port, 1 + GetBytesReady(port) / 2);
                ASSERT_FALSE(piece.empty());
                ASSERT_EQ(piece.find_first_not_of(std::string("x") + LAST), std::string::npos);
            }
        });
    for (int round = 0; round < 200; ++round)
    {
        for (const std::uint32_t size : {1U, 2U, 7U, 128U, 4096U})
        {
            EXPECT_TRUE(port.SetRxBufferSize(size).IsOK());
            std::uint32_t reported = 0;
            EXPECT_TRUE(port.GetRxBufferSize(reported).IsOK());
            EXPECT_EQ(reported, size);
        }
    }
    done = true;
    sender.join();
    EXPECT_TRUE(WaitUntil([&] { return lineEnd->GetRoom() > 0; }));
    lineEnd->Send(std::string(1, LAST));
    reader.join();

    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mLostBytes, 0U);
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartThreadsTest, AnswersQueriesWhileOthersReadAndWrite)
{
    const std::string text = MakeText(2000);
    SimulatedDevice device;
    device.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    std::atomic<bool> done{false};
    std::thread querying(
        [&]
        {
            std::uint64_t sent = 0;
            std::uint64_t received = 0;
            while (!done)
            {
                EXPECT_TRUE(port.IsOpened());
                EXPECT_LE(GetBytesReady(port), text.size());
                EXPECT_GE(port.GetBytesSent(), sent);
                EXPECT_GE(port.GetBytesReceived(), received);
                sent = port.GetBytesSent();
                received = port.GetBytesReceived();
            }
        });
    std::thread reader([&] { EXPECT_EQ(Read(port, text.size()), text); });
    EXPECT_TRUE(Write(port, text));
    reader.join();
    done = true;
    querying.join();

    EXPECT_EQ(port.GetBytesReceived(), text.size());
    EXPECT_TRUE(port.Close().IsOK());
}
