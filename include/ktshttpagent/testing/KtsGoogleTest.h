#pragma once

/// @file
/// The test kit for GoogleTest: a fixture with a lab server, and a readable form of what was sent. The kit
/// itself needs no GoogleTest.

#include "KtsLabServer.h"
#include "KtsScript.h"

#include <gtest/gtest.h>

#include <ostream>

/// Prints a request in a message of GoogleTest.
inline void PrintTo(const SKtsSent& sent, std::ostream* pOut)
{
    *pOut << (sent.bPost ? "POST " : "GET ") << sent.strUrl << ", type " << sent.nType;
}

/// A test with a lab server of its own, which runs when the test begins. A test fails at once if it can't be
/// started. A fixture that overrides `SetUp` calls this one first.
class KtsLabServerTest : public ::testing::Test
{
protected:
    /// Starts the server.
    void SetUp() override { ASSERT_TRUE(m_lab.Start()) << m_lab.Error().toStdString(); }

    KtsLabServer m_lab; ///< the server; ends with the test
};
