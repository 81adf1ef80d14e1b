// The driver as a host uses it: its functions with plain names, and the globals that tell what a reply holds.
#ifndef FGS_HOST_DRIVER_API_H
#define FGS_HOST_DRIVER_API_H

#include <QtCore/QLibrary>
#include <stdexcept>
#include <tarn_fgsseries.h>

namespace fgs
{

/// All names that the host takes from the driver.
#define FGS_DRIVER_NAMES(name)                                                                                     \
    name(SetComInfo) name(RegistCallBackFuncIntf) name(ReCreatReadVarList) name(AddListReadVar)                    \
        name(AddListWriteVar) name(AddListOnceReadVar) name(ComCommunication) name(DataCom) name(GetRegisterData)  \
            name(SetRegisterData) name(CurrentRWVar) name(iRet_ValidStar) name(iRet_ValidLen)

/// Pointers to them. There is one driver in a process, so all tables stand for the same one.
struct DriverApi {
#define FGS_POINTER(name) decltype(&::name) name = nullptr; // NOLINT(bugprone-macro-parentheses): it names a member
    FGS_DRIVER_NAMES(FGS_POINTER)
#undef FGS_POINTER
};

/// The library that the program itself is linked with.
inline DriverApi linkedDriver()
{
    DriverApi api;
#define FGS_LINK(name) api.name = &::name;
    FGS_DRIVER_NAMES(FGS_LINK)
#undef FGS_LINK
    return api;
}

/// The library, loaded at run time by its soname or a path, as an operator-panel runtime does. It stays loaded:
/// records of the driver may outlive this object.
class LoadedDriver
{
public:
    /// Throws std::runtime_error if the library, or a name in it, is missing.
    explicit LoadedDriver(const QString &file = QStringLiteral("libTarnFGs.so.1"));

    const DriverApi &api() const { return names; }

private:
    QLibrary library;
    DriverApi names;
};

} // namespace fgs

#endif
