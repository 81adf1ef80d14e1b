// Edge values in pairs, and a bound on what one call may take.
#ifndef TARN_TESTS_EXTREMES_H
#define TARN_TESTS_EXTREMES_H

#include "support/fixture.h"
#include "support/heap.h"

#include <climits>
#include <random>

namespace extremes
{

using Values = std::vector<int>;

/// One number that a call looks at.
struct Parameter {
    const char *name;
    int usual;
    Values edges;
};

inline Values edges()
{
    return {INT_MIN, -1, 0, 1, 65535, 65536, INT_MAX};
}

/// With the last number inside a capacity and the first one outside.
inline Values edgesAround(int capacity)
{
    Values values = edges();
    values.push_back(capacity - 1);
    values.push_back(capacity);
    return values;
}

/// All area types, the one after the last, and values that are none.
inline Values areaTypes()
{
    Values values = edges();
    for (int type = 2; type <= 14; ++type)
        values.push_back(type);
    return values;
}

/// " length 65536", for every value that is not the usual one.
inline std::string describe(const std::vector<Parameter> &parameters, const Values &values)
{
    std::string text;
    for (size_t i = 0; i < values.size(); ++i)
        if (values[i] != parameters[i].usual)
            text += std::string(" ") + parameters[i].name + " " + std::to_string(values[i]);
    return text;
}

/// Every edge of every parameter with every edge of every other one; what remains is usual.
template <typename Call>
void forPairs(const std::vector<Parameter> &parameters, Call call)
{
    Values usual;
    for (const Parameter &parameter : parameters)
        usual.push_back(parameter.usual);
    for (size_t i = 0; i + 1 < parameters.size(); ++i)
        for (size_t j = i + 1; j < parameters.size(); ++j)
            for (int first : parameters[i].edges)
                for (int second : parameters[j].edges) {
                    Values values = usual;
                    values[i] = first;
                    values[j] = second;
                    call(values);
                }
}

/// With sanitizers, where a call takes ten times as long, each pair goes through one of the two schemes of storage.
template <typename Call>
void forPairsInBothSchemes(const std::vector<Parameter> &parameters, Call call)
{
    std::mt19937 random;
    forPairs(parameters, [&](const Values &values) {
        const unsigned chosen = random() % 2;
        for (unsigned stationMode : {0U, 1U})
            if (!TARN_SANITIZED || stationMode == chosen)
                call(int(stationMode), values);
    });
}

/// More than before, at any moment of one call.
const long long MostBytes = 64 << 20;
/// Requests for memory in one call, eight for each of the most items: they stand for its work, however busy the
/// machine is.
const long long MostRequests = 8 * 65536;

class ExtremesTest : public DriverTest
{
protected:
    ExtremesTest() { usualSettings(); }
    void TearDown() override
    {
        RecordProperty("calls", calls);
        RecordProperty("busiest", busiest.what + ": " + std::to_string(busiest.count) + " requests for memory");
        RecordProperty("largest", largest.what + ": " + std::to_string(largest.count) + " bytes");
    }

    void usualSettings()
    {
        settings.blockWords = 30;
        settings.defaultStation = 1;
        settings.retryLimit = 1;
        settings.writeMode = 2;
    }

    /// The driver as it was after loading, with usual settings.
    void restart(int stationMode)
    {
        reset();
        usualSettings();
        settings.stationMode = stationMode;
    }

    /// Makes a call, which may take so much memory, so often, and no more, and leaves no lock behind.
    template <typename Call>
    void bounded(const std::string &what, Call call)
    {
        heap::startPeak();
        const long long before = heap::inUse();
        const long long requestsBefore = heap::requests();
        call();
        const long long requests = heap::requests() - requestsBefore;
        const long long bytes = heap::peak() - before;
        ++calls;
        EXPECT_LT(requests, MostRequests) << what;
        EXPECT_LT(bytes, MostBytes) << what;
        EXPECT_TRUE(locksAreFree()) << what;
        busiest.note(what, requests);
        largest.note(what, bytes);
    }

    int calls = 0;

private:
    /// The call of which something was the most.
    struct Most {
        void note(const std::string &call, long long number)
        {
            if (number <= count)
                return;
            what = call;
            count = number;
        }

        std::string what;
        long long count = 0;
    };

    Most busiest, largest;
};

} // namespace extremes

#endif
