// Why a file is closed to this user, and how to be let in.
#ifndef FGS_HOST_FILE_ACCESS_H
#define FGS_HOST_FILE_ACCESS_H

#include <QtCore/QString>
#include <sys/stat.h>

namespace fgs
{

/// What has to be done so that this user may read and write a file: "join the group dialout (...)".
QString wayIn(const QString &path, const struct stat &file);

} // namespace fgs

#endif
