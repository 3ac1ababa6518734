#include "host/VariableName.h"

#include "host/HostError.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using host::NamedVariable;
using host::ValueType;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

host::VariableRecord named(const std::string& name, std::uint32_t address) {
    host::VariableRecord record;
    record.name = name;
    record.address = address;
    return record;
}

host::EcuRecord ecu(const std::string& name, const std::vector<host::VariableRecord>& variables) {
    host::EcuRecord record;
    record.name = name;
    record.variables = variables;
    return record;
}

class VariableName : public ::testing::Test {
protected:
    VariableName() {
        m_config.file = "ecus.toml";
        m_config.ecus = {ecu("engine", {named("speed", 0x10), named("uptime", 0x20)}),
                         ecu("gearbox", {named("oil_temp", 0x30), named("uptime", 0x40)})};
        host::ParameterRecord limit;
        limit.name = "rev_limit";
        limit.address = 0x50;
        m_config.ecus[0].parameters = {limit};
    }

    NamedVariable find(const std::string& text, const std::vector<std::size_t>& ecus = {0, 1}) const {
        return host::findVariable(m_config, ecus, text);
    }

    std::string refusal(const std::string& text, const std::vector<std::size_t>& ecus = {0, 1}) const {
        try {
            static_cast<void>(find(text, ecus));
        } catch (const host::HostError& error) {
            EXPECT_EQ(error.code(), host::ExitCode::usage);
            return error.what();
        }
        return "found";
    }

    host::Config m_config;
};

TEST_F(VariableName, NameOfOneEcuIsEnough) {
    EXPECT_EQ(find("speed").ecu, 0U);
    EXPECT_EQ(find("oil_temp").ecu, 1U);
    EXPECT_EQ(find("rev_limit").record.address, 0x50U);
}

TEST_F(VariableName, NameOfSeveralEcusNeedsItsEcu) {
    EXPECT_EQ(refusal("uptime"),
              "\"uptime\" can be that of several ECUs; give one of engine.uptime, gearbox.uptime, or choose "
              "with --ecu");
    EXPECT_EQ(find("engine.uptime").record.address, 0x20U);
    EXPECT_EQ(find("gearbox.uptime").record.address, 0x40U);
    EXPECT_EQ(find("uptime", {1}).record.address, 0x40U);
}

TEST_F(VariableName, NameWithDotIsNotTakenForAnEcu) {
    m_config.ecus[1].variables.push_back(named("engine.state", 0x60));
    EXPECT_EQ(find("engine.state").ecu, 1U);
}

TEST_F(VariableName, EcuThatIsNotChosenIsRefused) {
    EXPECT_EQ(refusal("engine.speed", {1}), "engine.speed: --ecu does not choose engine");
}

TEST_F(VariableName, AddressComesWithSizeOrType) {
    const NamedVariable bytes = find("gearbox.0x20000000:4");
    EXPECT_EQ(bytes.ecu, 1U);
    EXPECT_EQ(bytes.record.name, "0x20000000:4");
    EXPECT_EQ(bytes.record.address, 0x20000000U);
    EXPECT_EQ(bytes.record.size, 4U);
    EXPECT_EQ(bytes.record.type, ValueType::bytes);
    const NamedVariable number = find("4096:i16", {0});
    EXPECT_EQ(number.record.address, 0x1000U);
    EXPECT_EQ(number.record.size, 2U);
    EXPECT_EQ(number.record.type, ValueType::i16);
    EXPECT_EQ(find("0xFFFFFFFF:0x10", {0}).record.size, 16U);
}

TEST_F(VariableName, AddressIsOfOneEcu) {
    EXPECT_EQ(refusal("0x10:u8"),
              "\"0x10:u8\" can be that of several ECUs; give one of engine.0x10:u8, gearbox.0x10:u8, or "
              "choose with --ecu");
}

TEST_F(VariableName, AddressWithoutSaneSizeIsRefused) {
    for (const char* size : {"", "0", "65536", "u12", "-1", "4 "}) {
        EXPECT_EQ(
            refusal("0x10:" + std::string(size), {0}),
            "0x10:" + std::string(size) + ": found \"" + size +
                "\" behind the address; give a number of bytes, 1 to 65535, or one of u8, i8, u16, i16, "
                "u32, i32, u64, i64, f32, f64");
    }
}

TEST_F(VariableName, UnknownNameIsAnsweredWithNearOnes) {
    EXPECT_EQ(refusal("sped"), "ecus.toml: engine, gearbox has no variable \"sped\"; did you mean speed?");
    EXPECT_EQ(refusal("engine.rev"), "ecus.toml: engine has no variable \"rev\"; did you mean rev_limit?");
    EXPECT_EQ(
        refusal("torque", {1}),
        "ecus.toml: gearbox has no variable \"torque\"; give a name of the configuration, or ADDRESS:SIZE");
    EXPECT_EQ(refusal("0x100000000:4", {0}),
              "ecus.toml: engine has no variable \"0x100000000:4\"; give a name of the configuration, or "
              "ADDRESS:SIZE");
}

TEST(NearestNames, BestComesFirstAndFarOnesAreLeftOut) {
    EXPECT_THAT(host::nearestNames("oil_tmp", {"torque", "oil_temp", "oil_tank", "oil_tmp2"}, 2),
                ElementsAre("oil_temp", "oil_tmp2"));
    EXPECT_THAT(host::nearestNames("x", {"torque"}, 3), IsEmpty());
    EXPECT_THAT(host::nearestNames("x", {}, 3), IsEmpty());
}

TEST(EcusOf, EachStandsOnceInOrder) {
    EXPECT_THAT(host::ecusOf({{2, {}}, {0, {}}, {2, {}}}), ElementsAre(0, 2));
}

}  // namespace
