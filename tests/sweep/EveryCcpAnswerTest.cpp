// Each command of a CCP master against every answer that an ECU can give, held against a model.
#include "tests/sweep/CcpCommandRows.h"

#include <gtest/gtest.h>

namespace sweep {
namespace {

using CCP_MOUDLE::CcpProtoTransmit;

EcuProtoCfg config() {
    EcuProtoCfg cfg;
    cfg.protoType = 0;
    // Answers are there before the wait for them begins, so that the shortest wait finds them.
    cfg.ccp.timeoutMs = 1;
    cfg.ccp.retryCount = static_cast<std::int32_t>(kRetries);
    return cfg;
}

/// A link that counts as lost sends nothing. Any other takes the next answer for the next command's.
void expectLink(CcpProtoTransmit& ccp, AnsweringEcu& ecu, bool lost) {
    ecu.answers({{{0xFF, 0, 0, 0x77}}});
    EXPECT_EQ(ccp.m_linkLost, lost);
    std::uint8_t status = 0;
    EXPECT_EQ(ccp.cmdGetSStatus(status), lost ? 1U : 0U);
    EXPECT_EQ(ecu.sent().size(), lost ? 0U : 1U);
    EXPECT_EQ(status, lost ? 0x00 : 0x77);
}

void expectAsModelled(const CcpRow& row, const AnswerCase& answers) {
    CcpModel model(answers.script);
    const Outcome expected = (model.*row.run)();
    AnsweringEcu ecu(answers.script, true);
    CcpProtoTransmit ccp(config(), AnsweringEcu::callBacks());
    Numbers numbers;
    EXPECT_EQ(row.call(ccp, numbers), row.result(expected));
    EXPECT_EQ(numbers, numbersOf(row, expected));
    // Repeats are the same frame, counter included.
    EXPECT_EQ(ecu.sent(), std::vector<Bytes>(expected.sends, row.request));
    EXPECT_EQ(ccp.m_lastStatus, expected.status);
    EXPECT_EQ(ccp.m_commandCounter, 1);
    EXPECT_EQ(ecu.logged(3), expected.warnings);
    EXPECT_EQ(ecu.logged(4), 0U);
    expectLink(ccp, ecu, expected.lost);
}

class EveryCcpAnswer : public testing::TestWithParam<CcpRow> {};

}  // namespace

TEST_P(EveryCcpAnswer, HasTheResultRepeatsAndLinkOfTheModel) {
    const CcpRow& row = GetParam();
    const std::string only = onlyCase();
    std::size_t cases = 0;
    for (const AnswerCase& answers : ccpCases(row.positive)) {
        if (!only.empty() && only != answers.name) {
            continue;
        }
        SCOPED_TRACE("again: TALVEX_CASE='" + answers.name +
                     "' talvex_sweep_tests --gtest_filter='*EveryCcpAnswer.*/" + row.name + "'");
        expectAsModelled(row, answers);
        ++cases;
    }
    EXPECT_GE(cases, only.empty() ? 500U : 1U);
    RecordProperty("cases", static_cast<int>(cases));
}

INSTANTIATE_TEST_SUITE_P(Commands, EveryCcpAnswer, testing::ValuesIn(ccpRows()),
                         [](const auto& row) { return row.param.name; });

}  // namespace sweep
