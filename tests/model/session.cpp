#include "session.h"

using namespace model;

static std::vector<std::array<int, 4>> callbacksSeen;

static void recordCallback(int handle, int hostType, int hostAddr, int status)
{
    callbacksSeen.push_back({handle, hostType, hostAddr, status});
}

Session::Session(COMINFO &hostSettings, Random &source)
    : settings(hostSettings), random(source), calm(source.between(0, 100))
{
    callbacksSeen.clear();
    fillImages(expected, static_cast<unsigned>(random.number()));
    for (int word = 0; word < 20; ++word)
        set(word, random.between(-9, 9));
    for (int word : {blockWords, defaultStation, retryLimit, stationMode, remoteMode, localLinkNo, writeMode})
        set(word, anySetting(word));
    set(retryCount, 0);
    SetComInfo(&settings);
    expected.SetComInfo(true);
    setCallback(random.chance(80));
}

std::string Session::run()
{
    for (int done = 1; done <= steps; ++done) {
        const std::string found = step();
        if (!found.empty())
            return "step " + std::to_string(done) + ", " + found;
    }
    return "";
}

std::string Session::step()
{
    operation.clear();
    const std::string found = first({(this->*anyOperation())(), difference()});
    return found.empty() ? found : operation + ": " + found + describeSettings();
}

Session::Operation Session::anyOperation()
{
    static const struct {
        int weight;
        Operation operation;
    } operations[] = {
        {500, &Session::poll},      {80, &Session::hostRead},      {90, &Session::hostWrite},
        {60, &Session::queueWrite}, {90, &Session::queueOnce},     {25, &Session::rebuild},
        {6, &Session::addCyclic},   {40, &Session::changeSetting}, {15, &Session::askOnly},
        {15, &Session::answerOnly}, {12, &Session::moreFrames},    {25, &Session::otherReplyLength},
        {25, &Session::judge},      {8, &Session::builder},        {4, &Session::otherCallback},
        {5, &Session::smallCalls},  {4, &Session::nullPointers},   {3, &Session::withoutSettings},
        {1, &Session::flood},
    };
    int total = 0;
    for (const auto &entry : operations)
        total += entry.weight;
    int left = random.between(1, total);
    for (const auto &entry : operations)
        if ((left -= entry.weight) <= 0)
            return entry.operation;
    return &Session::poll;
}

int Session::anySetting(int word)
{
    switch (word) {
    case blockWords:
        return anyBlockSize(random);
    case defaultStation:
        return random.chance(85) ? random.between(1, 2) : random.pick({0, 256, -1});
    case retryLimit:
        return random.pick({-1, 0, 0, 1, 2, 3});
    case stationMode:
        return random.pick({0, 0, 1, 1});
    case remoteMode:
        return random.pick({0, 0, 0, 1});
    case writeMode:
        return random.pick({2, 2, 2, 1, 0});
    default:
        return random.chance(80) ? 0 : random.between(0, 2);
    }
}

void Session::setCallback(bool given)
{
    RegistCallBackFuncIntf(given ? recordCallback : nullptr, 7);
    expected.hasCallback = given;
}

static bool isFree(TarnMutex &mutex)
{
    const bool taken = mutex.tryLock();
    if (taken)
        mutex.unlock();
    return taken;
}

std::string Session::difference() const
{
    if (callbacksSeen != expected.callbacks)
        return "callbacks differ: expected " + std::to_string(expected.callbacks.size()) + ", got " +
               std::to_string(callbacksSeen.size());
    if (!isFree(PLC_driver.ListMutex) || !isFree(PLC_driver.ImageMutex))
        return "a lock is held";
    return differenceOfState(expected, settings);
}

std::string Session::describeSettings() const
{
    std::string all = "\n  settings";
    for (int word : expected.settings)
        all += " " + std::to_string(word);
    return all + (expected.hasSettings ? "" : " (not given)");
}
