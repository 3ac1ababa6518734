// Each command of an XCP master against every answer that an ECU can give, held against a model.
#include "tests/sweep/XcpCommandRows.h"

#include "tests/support/HexText.h"

#include <gtest/gtest.h>

namespace sweep {
namespace {

using XCP_MOUDLE::XcpProtoTransmit;

EcuProtoCfg configFor(const XcpRow& row) {
    EcuProtoCfg cfg;
    XcpCfg& xcp = cfg.xcp;
    // Answers are there before the wait for them begins, so that the shortest wait finds them.
    xcp.t1 = xcp.t2 = xcp.t3 = xcp.t4 = xcp.t5 = xcp.t6 = xcp.t7 = 1;
    xcp.retryCount = static_cast<std::int32_t>(kRetries);
    xcp.useSlaveBlockMode = row.slaveBlockMode ? 1 : 0;
    return cfg;
}

std::string textOf(const msgBuf& frame) {
    return support::hexText(frame.data.data(), frame.length);
}

/// A link that counts as lost sends nothing. Any other takes the next answer for the next command's.
void expectLink(XcpProtoTransmit& xcp, AnsweringEcu& ecu, bool lost) {
    const Bytes answer = {0xFF, 0x77, 0x55};
    ecu.answers({{answer}});
    EXPECT_EQ(xcp.m_linkLost, lost);
    EXPECT_EQ(xcp.cmdSynch(), lost ? 1U : 0U);
    EXPECT_EQ(ecu.sent().size(), lost ? 0U : 1U);
    EXPECT_EQ(ecu.logged(4), lost ? 1U : 0U);
    if (!lost) {
        EXPECT_EQ(textOf(xcp.m_lastResponse), support::hexText(answer));
    }
}

void expectAsModelled(const XcpRow& row, const AnswerCase& answers) {
    XcpModel model(answers.script);
    const Outcome expected = (model.*row.run)();
    AnsweringEcu ecu(answers.script, false);
    XcpProtoTransmit xcp(configFor(row), AnsweringEcu::callBacks());
    Numbers numbers;
    EXPECT_EQ(row.call(xcp, numbers), row.result(expected));
    EXPECT_EQ(numbers, numbersOf(row, expected));
    EXPECT_EQ(ecu.sent().size(), expected.sends);
    EXPECT_EQ(ecu.sent().at(0), row.request);
    EXPECT_EQ(xcp.m_lastStatus, expected.status);
    EXPECT_EQ(textOf(xcp.m_lastResponse), support::hexText(expected.lastResponse));
    EXPECT_EQ(ecu.logged(3), expected.warnings);
    EXPECT_EQ(ecu.logged(4), 0U);
    expectLink(xcp, ecu, expected.lost);
}

class EveryXcpAnswer : public testing::TestWithParam<XcpRow> {};

}  // namespace

TEST_P(EveryXcpAnswer, HasTheResultRepeatsAndLinkOfTheModel) {
    const XcpRow& row = GetParam();
    const std::string only = onlyCase();
    std::size_t cases = 0;
    for (const AnswerCase& answers : xcpCases(row.positive, row.name == "GET_STATUS")) {
        if (!only.empty() && only != answers.name) {
            continue;
        }
        SCOPED_TRACE("again: TALVEX_CASE='" + answers.name +
                     "' talvex_sweep_tests --gtest_filter='*EveryXcpAnswer.*/" + row.name + "'");
        expectAsModelled(row, answers);
        ++cases;
    }
    EXPECT_GE(cases, only.empty() ? 500U : 1U);
    RecordProperty("cases", static_cast<int>(cases));
}

INSTANTIATE_TEST_SUITE_P(Commands, EveryXcpAnswer, testing::ValuesIn(xcpRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace sweep
