/// @file
/// Takes the failures of assertions outside of tests.
#pragma once

#include "tests/soak/SoakVerdict.h"

#include <gtest/gtest.h>

namespace soak {

/// The host and the stations of the system tests report what is wrong as failures of a test; here is none.
/// While it lives, they are faults of the verdict.
class FailureListener {
public:
    explicit FailureListener(SoakVerdict& verdict);
    ~FailureListener();
    FailureListener(const FailureListener&) = delete;
    FailureListener& operator=(const FailureListener&) = delete;

private:
    class Listener;

    Listener* const m_listener;  ///< owned by GoogleTest while it is appended
};

}  // namespace soak
