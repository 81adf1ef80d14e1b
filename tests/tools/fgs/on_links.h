// Tests over every kind of link that the build has.
#ifndef FGS_TESTS_ON_LINKS_H
#define FGS_TESTS_ON_LINKS_H

#include "own_controller.h"
#include "support/serial_ports.h"

#include <gtest/gtest.h>

class OnLinks : public ::testing::TestWithParam<OwnController::On>
{
protected:
    void SetUp() override
    {
        if (GetParam() == OwnController::On::Pty)
            NEEDS_SERIAL_PORTS();
    }
};

#define ON_BOTH_LINKS(Suite)                                                                                       \
    INSTANTIATE_TEST_SUITE_P(                                                                                      \
        Links, Suite, ::testing::Values(OwnController::On::Tcp, OwnController::On::Pty),                           \
        [](const auto &each) { return each.param == OwnController::On::Tcp ? "Tcp" : "Pty"; })

#endif
