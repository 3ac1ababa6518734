// What is told of variables that went wrong.

#include "host/VariableMessages.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

class VariableMessages : public ::testing::Test {
protected:
    VariableMessages() {
        m_config.ecus.resize(2);
        m_config.ecus[0].name = "engine";
        m_config.ecus[1].name = "gearbox";
        m_speed.record.name = "speed";
        m_gear.ecu = 1;
        m_gear.record.name = "gear";
    }

    host::Config m_config;
    host::NamedVariable m_speed;
    host::NamedVariable m_gear;
};

TEST_F(VariableMessages, NameOfTheEcuIsThereOnlyIfThereAreSeveral) {
    EXPECT_EQ(host::VariableMessages(m_config, {m_speed}, false).nameOf(m_speed), "speed");
    EXPECT_EQ(host::VariableMessages(m_config, {m_speed, m_gear}, false).nameOf(m_gear), "gearbox.gear");
}

TEST_F(VariableMessages, ValueThatNobodyLookedAtIsNamedForPersonsAndPrograms) {
    host::VariableMessages report(m_config, {m_speed}, true);
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
    report.notReadBack(m_speed, {0x12, 0xAB});
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "talvex: engine: speed: written, not read back\n");
    EXPECT_EQ(
        ::testing::internal::GetCapturedStdout(),
        "{\"schema\":1,\"type\":\"not_read_back\",\"ecu\":\"engine\",\"name\":\"speed\",\"raw\":\"12ab\"}\n");
}

}  // namespace
