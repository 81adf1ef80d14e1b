#include "file_access.h"

#include <algorithm>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace fgs
{

namespace
{

struct User {
    QString name; ///< the number if the system knows no name
    gid_t group;
};

User userOf(uid_t number)
{
    char text[65536];
    passwd entry;
    passwd *found = nullptr;
    if (getpwuid_r(number, &entry, text, sizeof text, &found) != 0 || !found)
        return {QString::number(number), getegid()};
    return {QString::fromLocal8Bit(entry.pw_name), entry.pw_gid};
}

QString groupName(gid_t number)
{
    char text[65536];
    group entry;
    group *found = nullptr;
    if (getgrgid_r(number, &entry, text, sizeof text, &found) != 0 || !found)
        return QString::number(number);
    return QString::fromLocal8Bit(entry.gr_name);
}

/// Whether this user is a member by the system's records, which a process learns at the log-in only.
bool isMember(gid_t wanted)
{
    const User user = userOf(geteuid());
    std::vector<gid_t> groups(65536);
    int count = static_cast<int>(groups.size());
    getgrouplist(user.name.toLocal8Bit().constData(), user.group, groups.data(), &count);
    const auto end = groups.begin() + std::clamp(count, 0, static_cast<int>(groups.size()));
    return std::find(groups.begin(), end, wanted) != end;
}

bool opensTo(const struct stat &file, mode_t readAndWrite)
{
    return (file.st_mode & readAndWrite) == readAndWrite;
}

} // namespace

QString wayIn(const QString &path, const struct stat &file)
{
    const QString owners = groupName(file.st_gid);
    if (file.st_uid == geteuid())
        return QStringLiteral("it is yours, but closed to you (chmod u+rw %1)").arg(path);
    if (!opensTo(file, S_IRGRP | S_IWGRP) || file.st_gid == 0)
        return QStringLiteral("only %1 may use it; run this as %1, or have it opened to a group of yours "
                              "(chgrp and chmod g+rw)")
            .arg(userOf(file.st_uid).name);
    if (isMember(file.st_gid))
        return QStringLiteral("you have joined the group %1 since you logged in; log in again").arg(owners);
    return QStringLiteral("join the group %1 (sudo adduser %2 %1, then log in again)")
        .arg(owners, userOf(geteuid()).name);
}

} // namespace fgs
