#include "host/InfoXcp.h"

#include "host/InfoXcpFacts.h"
#include "host/Link.h"
#include "host/XcpSlave.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace host {
namespace {

constexpr std::uint8_t kCalibration = 0x01;
constexpr std::uint8_t kDaq = 0x04;
constexpr std::uint8_t kProgramming = 0x10;
constexpr std::uint8_t kMostIdType = 3;

constexpr std::uint8_t kGetStatus = 0xFD;
constexpr std::uint8_t kGetCommModeInfo = 0xFB;
constexpr std::uint8_t kGetId = 0xFA;
constexpr std::uint8_t kGetCalPage = 0xEA;
constexpr std::uint8_t kGetPagProcessorInfo = 0xE9;
constexpr std::uint8_t kGetSegmentInfo = 0xE8;
constexpr std::uint8_t kGetDaqProcessorInfo = 0xDA;
constexpr std::uint8_t kGetDaqResolutionInfo = 0xD9;
constexpr std::uint8_t kGetDaqEventInfo = 0xD7;
constexpr std::uint8_t kGetPgmProcessorInfo = 0xCE;

/// One conversation.
class XcpQuestions {
public:
    XcpQuestions(const EcuRecord& record, XcpSlave& slave, InfoFacts& facts)
        : m_record(record), m_slave(slave), m_facts(record, facts) {}

    void askAll() {
        m_facts.connect(m_slave.connect());
        m_facts.status(m_slave.ask({kGetStatus}));
        m_facts.commModeInfo(m_slave.ask({kGetCommModeInfo}));
        askIdentification();
        unlock();
        if (has(kDaq)) {
            askDaq();
        }
        if (has(kCalibration)) {
            askPages();
        }
        if (has(kProgramming)) {
            m_facts.pgmProcessor(m_slave.ask({kGetPgmProcessorInfo}));
        }
    }

private:
    [[nodiscard]] bool has(std::uint8_t resource) const { return (m_facts.resources() & resource) != 0; }

    /// An ECU need not have any of these texts.
    void askIdentification() {
        for (std::uint8_t type = 0; type <= kMostIdType; ++type) {
            const SlaveAnswer answer = m_slave.ask({kGetId, type});
            const auto text = answer.good() ? idText(type, answer) : std::vector<std::uint8_t>();
            if (!text.empty()) {
                m_facts.identification(type, text);
            }
        }
    }

    /// The text behind an answer to GET_ID: in it, or where the memory transfer address stands.
    std::vector<std::uint8_t> idText(std::uint8_t type, const SlaveAnswer& answer) {
        constexpr std::size_t kHead = 8;
        constexpr std::uint64_t kLongest = 1024;
        constexpr std::uint8_t kInAnswer = 0x01;
        const std::uint64_t told = sim::getNumber(std::span(answer.bytes).subspan(4, 4), m_facts.order());
        const auto length = static_cast<std::size_t>(std::min(told, kLongest));
        if ((answer.bytes[1] & kInAnswer) == 0) {
            return m_slave.upload({{kGetId, type}, length, m_facts.granularity()});
        }
        const auto text =
            std::span(answer.bytes).subspan(kHead).first(std::min(length, answer.bytes.size() - kHead));
        return {text.begin(), text.end()};
    }

    void unlock() {
        const SecurityRecord& security = m_record.security;
        const unsigned locked = m_facts.locked() & m_facts.resources() & security.unlockMask;
        if (security.seedKey.empty() || locked == 0) {
            return;
        }
        if (const auto error = m_slave.unlock()) {
            m_facts.unlockFailed(error->what());
        }
    }

    void askDaq() {
        m_facts.daqProcessor(m_slave.ask({kGetDaqProcessorInfo}));
        m_facts.daqResolution(m_slave.ask({kGetDaqResolutionInfo}));
        for (std::uint16_t i = 0; i < m_facts.events(); ++i) {
            EventAnswer event;
            std::vector<std::uint8_t> command{kGetDaqEventInfo, 0, 0, 0};
            sim::putNumber(std::span(command).subspan(2), i, m_facts.order());
            event.info = m_slave.ask(command);
            if (event.info.good()) {
                event.name = m_slave.upload({command, event.info.bytes[3], m_facts.granularity()});
            }
            m_facts.event(i, event);
            if (!event.info.good()) {
                return;
            }
        }
    }

    void askPages() {
        m_facts.pagProcessor(m_slave.ask({kGetPagProcessorInfo}));
        for (std::uint8_t i = 0; i < m_facts.segments(); ++i) {
            SegmentAnswers answers;
            answers.address = m_slave.ask({kGetSegmentInfo, 0, i, 0, 0});
            answers.length = m_slave.ask({kGetSegmentInfo, 0, i, 1, 0});
            answers.standard = m_slave.ask({kGetSegmentInfo, 1, i, 0, 0});
            answers.ecuPage = m_slave.ask({kGetCalPage, 1, i});
            answers.toolPage = m_slave.ask({kGetCalPage, 2, i});
            m_facts.segment(i, answers);
        }
    }

    const EcuRecord& m_record;
    XcpSlave& m_slave;
    InfoXcpFacts m_facts;
};

/// The session would send between these commands.
Config withoutKeepAlive(Config config, std::size_t ecu) {
    config.ecus[ecu].timeouts.statusPeriodMs = 0;
    config.ecus[ecu].timeouts.synchPeriodMs = 0;
    return config;
}

}  // namespace

void askXcpEcu(const Config& config, std::size_t ecu, const LinkOptions& options, InfoFacts& facts) {
    const Config quiet = withoutKeepAlive(config, ecu);
    const EcuRecord& record = quiet.ecus[ecu];
    XcpResponses responses(record);
    Link link(quiet, {ecu}, options, {},
              [&responses](std::size_t, const BusFrame& frame) { responses.take(frame); });
    XcpSlave slave(record, ecu, quiet.buses[record.bus].channel, link, responses);
    XcpQuestions(record, slave, facts).askAll();
}

}  // namespace host
