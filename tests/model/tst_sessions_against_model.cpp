// Whole sessions; after each step everything that can be seen of the driver is compared with the model.
#include "session.h"

#include <iostream>

class SessionsAgainstModel : public DriverTest
{
};

TEST_F(SessionsAgainstModel, EverythingStaysTheSame)
{
    long long sessions = 0;
    model::forEachCase(400, [this, &sessions](model::Random &random) {
        reset();
        ++sessions;
        return Session(settings, random).run();
    });
    std::cout << sessions << " sessions of " << Session::steps << " steps\n";
}
