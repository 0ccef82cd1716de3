// An I2C bus with chips on each device, with a fault at every call that the library makes to the device.

#include "FaultSweepBusRun.h"

#include <KoDeviceI2CBus.h>
#include <KoSim/I2cEeprom.h>
#include <KoSim/I2cThermometer.h>

using KoSim::DeviceProfile;

namespace
{

constexpr std::uint8_t EEPROM = 0x57;
constexpr std::uint8_t THERMOMETER = 0x48;
constexpr bool FAST = true;
constexpr bool STOP = true;
constexpr bool REPEATED_START = true;

class I2cBusRun : public FaultSweepBusRun<KoDeviceI2CBus>
{
public:
    I2cBusRun(const DeviceProfile& aProfile, KoDeviceSerial aPort, const Plan& aPlan)
        : FaultSweepBusRun(aProfile, aPort, "I2C", aPlan)
    {
        const KoSim::Port port = ToSimulatedPort(aPort);
        mDevice.SetI2cSlave(port, EEPROM,
                            std::make_shared<KoSim::I2cEeprom>(KoSim::I2cEeprom::SMALL,
                                                               KoSim::MemoryImage(KoSim::I2cEeprom::SMALL.mSize),
                                                               KoSim::Time(0)));
        mDevice.SetI2cSlave(port, THERMOMETER, std::make_shared<KoSim::I2cThermometer>());
    }

private:
    /// The bytes of a request: the address with the direction bit, then the others.
    static std::string Request(std::uint8_t aAddress, bool aRead, const Bytes& aBytes)
    {
        return static_cast<char>(aAddress << 1 | (aRead ? 1 : 0)) + std::string(aBytes.begin(), aBytes.end());
    }

    void Use() override
    {
        BurstWrite();
        IndirectBurstWrite();
        IndirectBurstRead();
        MasterTransmitter();
        Read("BurstRead", THERMOMETER, "\x19" + std::string(1, '\0'),
             [this](std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aCount)
             { return mObject->BurstRead(aAddress, aBuffer, aLength, aCount, FAST); });
        Read("MasterReceiverAfterFirstByte", EEPROM, "\x06",
             [this](std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aCount)
             { return mObject->MasterReceiverAfterFirstByte(aAddress, aBuffer, aLength, aCount, FAST, STOP); });
    }

    void UseAgain() override { BurstWrite(); }

    void BurstWrite()
    {
        const Bytes data = {0x10, 1, 2, 3};
        Do(
            "BurstWrite",
            [&]
            { return ToText(mObject->BurstWrite(EEPROM, data.data(), static_cast<std::uint32_t>(data.size()), FAST)); },
            [&](Calls& aCalls) { return ToText(mModel.Request(aCalls, Request(EEPROM, false, data), "")); });
    }

    void IndirectBurstWrite()
    {
        const Bytes data = {4, 5, 6};
        const auto act = [&]
        {
            const auto length = static_cast<std::uint32_t>(data.size());
            return ToText(mObject->IndirectBurstWrite(EEPROM, 0x20, data.data(), length, FAST));
        };
        Do("IndirectBurstWrite", act,
           [&](Calls& aCalls) {
               return ToText(mModel.Request(aCalls, Request(EEPROM, false, {0x20, 4, 5, 6}), ""));
           });
    }

    void IndirectBurstRead()
    {
        const auto read =
            [this](std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aCount)
        { return mObject->IndirectBurstRead(aAddress, 0x20, aBuffer, aLength, aCount, FAST, REPEATED_START); };
        const std::string answer = "\x04\x05";
        const auto predict = [&](Calls& aCalls)
        {
            const FaultSweepResult addressed = mModel.Request(aCalls, Request(EEPROM, false, {0x20}), "");
            return addressed.IsOk() ? PredictRead(aCalls, EEPROM, answer) : Untouched(addressed);
        };
        Do(
            "IndirectBurstRead", [&] { return ActRead(EEPROM, answer.size(), read); }, predict);
    }

    void MasterTransmitter()
    {
        const std::uint8_t temperature = 0;
        Do(
            "MasterTransmitter",
            [&] { return ToText(mObject->MasterTransmitter(THERMOMETER, &temperature, 1, FAST, STOP)); },
            [&](Calls& aCalls) { return ToText(mModel.Request(aCalls, Request(THERMOMETER, false, {0}), "")); });
    }

    template <typename Operation>
    void Read(const char* aName, std::uint8_t aAddress, const std::string& aAnswer, Operation aOperation)
    {
        Do(
            aName, [&] { return ActRead(aAddress, aAnswer.size(), aOperation); },
            [&](Calls& aCalls) { return PredictRead(aCalls, aAddress, aAnswer); });
    }

    template <typename Operation>
    std::string ActRead(std::uint8_t aAddress, std::size_t aLength, Operation aOperation)
    {
        Bytes buffer(aLength);
        std::uint32_t count = UNTOUCHED;
        const KoResult result = aOperation(aAddress, buffer.data(), static_cast<std::uint32_t>(aLength), count);
        mRead = result.IsOK() ? std::string(buffer.begin(), buffer.end()) : "";
        return ToText(result) + ' ' + std::to_string(count);
    }

    std::string PredictRead(Calls& aCalls, std::uint8_t aAddress, const std::string& aAnswer)
    {
        bool isRequested = false;
        const auto length = static_cast<std::uint8_t>(aAnswer.size());
        const FaultSweepResult result =
            mModel.ReadI2c(aCalls, Request(aAddress, true, {length, 0}), aAnswer, isRequested);
        if (!isRequested)
        {
            return Untouched(result);
        }
        mExpectedRead = result.mData;
        return ToText(result) + ' ' + std::to_string(result.mData.size());
    }

    /// Of a read that did not come as far as to count bytes.
    std::string Untouched(const FaultSweepResult& aResult)
    {
        mExpectedRead.clear();
        return ToText(aResult) + ' ' + std::to_string(UNTOUCHED);
    }

    bool PredictSupport(Calls& aCalls) override { return mModel.IsI2cSupported(aCalls); }
    FaultSweepResult PredictOpen(Calls& aCalls) override { return mModel.OpenI2c(aCalls); }
    bool CanReopen() const override { return mPort == KoDeviceSerialBulk0; }
};

class FaultSweepI2cBus : public ::testing::TestWithParam<ProfileAndBusPort>
{
};

} // namespace

TEST_P(FaultSweepI2cBus, EveryFaultHasTheStatedConsequences)
{
    const auto [profile, port] = GetParam();
    SweepFaults("KoDeviceI2CBus", [made = profile.mMake(), port = port](const FaultSweepRun::Plan& aPlan)
                { return I2cBusRun(made, port, aPlan).Run(); });
}

INSTANTIATE_TEST_SUITE_P(Ports, FaultSweepI2cBus,
                         ::testing::Combine(::testing::ValuesIn(FAULT_SWEEP_PROFILES),
                                            ::testing::Values(KoDeviceSerialBulk0, KoDeviceSerialBulk7)),
                         &GetName);
