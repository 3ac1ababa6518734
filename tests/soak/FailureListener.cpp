#include "tests/soak/FailureListener.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace soak {
namespace {

constexpr std::string_view kHead = "Failed\n";  ///< of ADD_FAILURE

testing::TestEventListeners& listeners() {
    return testing::UnitTest::GetInstance()->listeners();
}

}  // namespace

class FailureListener::Listener final : public testing::EmptyTestEventListener {
public:
    explicit Listener(SoakVerdict& verdict) : m_verdict(verdict) {}

    void OnTestPartResult(const testing::TestPartResult& result) override {
        if (result.failed()) {
            const std::string message = result.message();
            const std::size_t head = message.starts_with(kHead) ? kHead.size() : 0;
            m_verdict.blame(message.substr(head));
        }
    }

private:
    SoakVerdict& m_verdict;
};

/// The printer of GoogleTest would tell the same once more.
FailureListener::FailureListener(SoakVerdict& verdict) : m_listener(new Listener(verdict)) {
    const std::unique_ptr<testing::TestEventListener> printer(
        listeners().Release(listeners().default_result_printer()));
    listeners().Append(m_listener);
}

FailureListener::~FailureListener() {
    const std::unique_ptr<testing::TestEventListener> ended(listeners().Release(m_listener));
}

}  // namespace soak
