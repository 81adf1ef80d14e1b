#include "threads.h"

#include "driver/tarn_fgsseries_p.h"

#include <thread>

namespace stress
{

namespace
{

const int MostBlocks = 40; ///< in the cyclic list, before this program adds no more

} // namespace

HostThread::HostThread(const COMINFO &info, int index, std::uint64_t seed)
    : settings(info), number(index), random(seed, 100 + std::uint64_t(index))
{
}

void HostThread::run(std::uint64_t most)
{
    std::uint64_t before = 0;
    for (std::uint64_t made = 0; made < most;) {
        act();
        std::this_thread::yield(); // so that the polling thread gets its turn
        made = 0;
        for (const auto &entry : calls)
            made += entry.second;
        check(made > before, "a step that calls nothing");
        before = made;
    }
}

void HostThread::act()
{
    struct Choice {
        void (HostThread::*call)();
        unsigned weight;
    };
    static const Choice choices[] = {
        {&HostThread::read, 50},    {&HostThread::set, 12},    {&HostThread::addWrite, 8},
        {&HostThread::readOnce, 8}, {&HostThread::rebuild, 4}, {&HostThread::addRead, 2},
        {&HostThread::ask, 8},      {&HostThread::keep, 8},
    };
    std::uint64_t drawn = random.below(std::uint64_t(100));
    for (const Choice &choice : choices) {
        if (drawn < choice.weight)
            return (this->*choice.call)();
        drawn -= choice.weight;
    }
}

void HostThread::check(bool fine, const std::string &what)
{
    if (!fine && error.empty())
        error = what;
}

void HostThread::read()
{
    const Group &group = anyGroup();
    const QByteArray values = imageOf(group, settings.stationMode);
    ++calls["GetRegisterData"];
    torn += !isWhole(group, values);
    QByteArray &before = last[int(&group - allGroups().data())];
    seen += before != values;
    before = values;
}

void HostThread::set()
{
    const std::vector<Group> own = writtenBy(number);
    const Group &group = own[random.below(own.size())];
    QByteArray values = valuesOf(group, ++generation);
    const int result = SetRegisterData(QString::fromLatin1("set"), group.areaType, group.text(), 1, &values,
                                       group.words(), number, number);
    ++calls["SetRegisterData"];
    check(result >= 1, "a write was refused");
}

RW_VAR HostThread::record(const Group &group) const
{
    RW_VAR var;
    var.hostType = number;
    var.hostAddr = number;
    var.linkNo = settings.remoteMode ? RemoteLink : settings.localLinkNo;
    var.areaType = group.areaType;
    var.address = group.address;
    var.addressText = group.text();
    var.station = 1;
    var.length = group.isBits() ? group.length / 8 : group.words();
    return var;
}

/// Seldom as it stands: such records know no limit of the queue.
void HostThread::addWrite()
{
    const std::vector<Group> own = writtenBy(number);
    const Group &group = own[random.below(own.size())];
    RW_VAR var = record(group);
    var.data = valuesOf(group, ++generation);
    const int queued = AddListWriteVar(&var, random.below(8) == 0);
    ++calls["AddListWriteVar"];
    check(queued >= 1, "a queued write is not there");
}

void HostThread::readOnce()
{
    RW_VAR var = record(controllerGroups().front());
    const bool asItStands = settings.remoteMode || random.below(8) == 0;
    var.remoteStoreMark = settings.remoteMode ? -1 : 0;
    var.length *= asItStands ? 1 : 8;
    const int queued = AddListOnceReadVar(&var, asItStands);
    ++calls["AddListOnceReadVar"];
    check(queued >= 1, "a queued one-shot read is not there");
}

void HostThread::rebuild()
{
    if (settings.remoteMode)
        return rebuildRemote();
    QList<HOST_VAR> vars = random.below(2) ? oneRequest() : someGroups(unsigned(random.below(1u << 20)));
    ReCreatReadVarList(&vars);
    ++calls["ReCreatReadVarList"];
}

void HostThread::rebuildRemote()
{
    ReCreatReadVarList(nullptr);
    ++calls["ReCreatReadVarList"];
    RW_VAR var = record(RemoteGroup);
    var.remoteStoreMark = -1;
    Locker held(PLC_driver.ListMutex);
    AddListReadVar(&var);
    ++calls["AddListReadVar"];
}

/// Never beside the six blocks that must stay alone.
void HostThread::addRead()
{
    RW_VAR var = record(settings.remoteMode ? RemoteGroup : controllerGroups().back());
    var.remoteStoreMark = settings.remoteMode ? -1 : 0;
    Locker held(PLC_driver.ListMutex);
    const QList<RW_VAR> &list = PLC_driver.ReadVarList;
    const bool alone = !list.isEmpty() && list.first().areaType == AllBlocks.areaType && !settings.remoteMode;
    if (!alone && list.size() < MostBlocks)
        AddListReadVar(&var);
    ++calls["AddListReadVar"];
}

void HostThread::ask()
{
    unsigned char digits[] = "123456789";
    check(CalCRC(digits, 9) == 0x4B37, "CalCRC");
    ++calls["CalCRC"];
    check(StringAddressToInt(0, QString::fromLatin1("17")) == 15, "StringAddressToInt");
    ++calls["StringAddressToInt"];
    check(PLCAddressChangeIntef(10, QString::fromLatin1("207")) == 7, "PLCAddressChangeIntef");
    ++calls["PLCAddressChangeIntef"];
    check(QueryFinishFlag() == 1, "QueryFinishFlag");
    ++calls["QueryFinishFlag"];
}

/// What nobody else writes is found again at once, where writes go to the image alone.
void HostThread::keep()
{
    const Group group = privateOf(number);
    QByteArray values = valuesOf(group, ++generation);
    RW_VAR var = record(group);
    var.data = values;
    WriteDataToLocal(&var);
    ++calls["WriteDataToLocal"];
    check(imageOf(group, settings.stationMode) == values, "a value that nobody else writes has changed");
    ++calls["GetRegisterData"];
}

} // namespace stress
