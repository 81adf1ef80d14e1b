#include "groups.h"

namespace stress
{

namespace
{

HOST_VAR hostVar(const Group &group)
{
    HOST_VAR var;
    var.areaType = static_cast<unsigned char>(group.areaType);
    var.station = 1;
    var.address = group.text();
    var.length = group.length + (group.isDoubleWords() ? 1 : 0);
    return var;
}

std::vector<Group> makeAll()
{
    std::vector<Group> groups = controllerGroups();
    for (int thread = 0; thread < HostThreads; ++thread)
        for (const Group &group : writtenBy(thread))
            groups.push_back(group);
    groups.push_back(RemoteGroup);
    groups.push_back(AllBlocks);
    return groups;
}

} // namespace

const Group AllBlocks = {5, 100, 6 * BlockWords};
const Group RemoteGroup = {5, 1000, BlockWords};

const std::vector<Group> &controllerGroups()
{
    static const std::vector<Group> groups = {{2, 0, 32}, {10, 0, 8}, {6, 200, 16}, {9, 0, 4}};
    return groups;
}

std::vector<Group> writtenBy(int thread)
{
    return {{7, 8 * thread, 8}, {6, 4 * thread, 4}, {10, 100 + 2 * thread, 2}};
}

Group privateOf(int thread)
{
    return {12, 2 * thread, 2};
}

const std::vector<Group> &allGroups()
{
    static const std::vector<Group> groups = makeAll();
    return groups;
}

QByteArray valuesOf(const Group &group, unsigned number)
{
    QByteArray values;
    for (int i = 0; i < group.length * group.width(); ++i)
        values.append(char(group.isBits() ? number & 1 : number >> (8 * (i % group.width()))));
    return values;
}

QByteArray imageOf(const Group &group, bool perStation)
{
    QByteArray values;
    GetRegisterData(0, group.areaType, group.text(), 1, &values, perStation ? group.length : group.words());
    return values;
}

bool isWhole(const Group &group, const QByteArray &values)
{
    const int width = group.width();
    return values.size() == group.length * width && values.mid(width) == values.left(values.size() - width);
}

QList<HOST_VAR> oneRequest()
{
    QList<HOST_VAR> vars;
    for (int i = 0; i < 6; ++i)
        vars.append(hostVar({AllBlocks.areaType, AllBlocks.address + i * BlockWords, BlockWords}));
    return vars;
}

QList<HOST_VAR> someGroups(unsigned chosen)
{
    QList<HOST_VAR> vars;
    for (const Group &group : allGroups()) {
        if (group.areaType != AllBlocks.areaType && chosen & 1)
            vars.append(hostVar(group));
        chosen >>= 1;
    }
    vars.append(hostVar({9, 0, 4}));
    return vars;
}

} // namespace stress
