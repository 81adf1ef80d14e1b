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

QString userName(uid_t user)
{
    const passwd *const entry = getpwuid(user);
    return entry ? QString::fromLocal8Bit(entry->pw_name) : QString::number(user);
}

QString groupName(gid_t group)
{
    const struct group *const entry = getgrgid(group);
    return entry ? QString::fromLocal8Bit(entry->gr_name) : QString::number(group);
}

/// Whether the user is a member by the system's records, which a process learns at the log-in only.
bool isMember(gid_t wanted)
{
    const passwd *const user = getpwuid(geteuid());
    if (!user)
        return false;
    std::vector<gid_t> groups(65536);
    int count = static_cast<int>(groups.size());
    getgrouplist(user->pw_name, user->pw_gid, groups.data(), &count);
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
    const QString group = groupName(file.st_gid);
    if (file.st_uid == geteuid())
        return QStringLiteral("it is yours, but closed to you (chmod u+rw %1)").arg(path);
    if (!opensTo(file, S_IRGRP | S_IWGRP) || file.st_gid == 0)
        return QStringLiteral("only %1 may use it; run this as %1, or have it opened to a group of yours "
                              "(chgrp and chmod g+rw)")
            .arg(userName(file.st_uid));
    if (isMember(file.st_gid))
        return QStringLiteral("you have joined the group %1 since you logged in; log in again").arg(group);
    return QStringLiteral("join the group %1 (sudo adduser %2 %1, then log in again)")
        .arg(group, userName(geteuid()));
}

} // namespace fgs
