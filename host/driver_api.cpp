#include "driver_api.h"

namespace fgs
{

namespace
{

template <typename Pointer>
void resolve(QLibrary &library, const char *name, Pointer &pointer)
{
    pointer = reinterpret_cast<Pointer>(library.resolve(name));
    if (!pointer)
        throw std::runtime_error(QStringLiteral("%1 has no '%2': not the driver, or another version of it")
                                     .arg(library.fileName(), QLatin1String(name))
                                     .toStdString());
}

} // namespace

LoadedDriver::LoadedDriver(const QString &file) : library(file)
{
    if (!library.load())
        throw std::runtime_error(
            QStringLiteral("cannot load the driver: %1; install it, or set LD_LIBRARY_PATH to its "
                           "folder")
                .arg(library.errorString())
                .toStdString());
#define FGS_RESOLVE(name) resolve(library, #name, names.name);
    FGS_DRIVER_NAMES(FGS_RESOLVE)
#undef FGS_RESOLVE
}

} // namespace fgs
