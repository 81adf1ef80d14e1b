// Between the driver and its model: records across, and what differs.
#ifndef TARN_TESTS_COMPARE_H
#define TARN_TESTS_COMPARE_H

#include "model.h"
#include "support/fixture.h"

namespace model
{

QString toDriver(const Text &text);
QByteArray toDriver(const Bytes &bytes);
RW_VAR toDriver(const Var &var);
Protocol toDriver(const Request &request);
QList<RW_VAR> toDriver(const std::vector<Var> &list);
QList<HOST_VAR> toDriver(const std::vector<HostVar> &list);

// The first field that differs, as "length: expected 4, got 5"; empty if none does.
std::string difference(int expected, int got);
std::string difference(const Bytes &expected, const QByteArray &got);
std::string difference(const Var &expected, const RW_VAR &got);
std::string difference(const Request &expected, const Protocol &got);
std::string difference(const std::vector<Var> &expected, const QList<RW_VAR> &got);
std::string difference(const std::vector<Stored> &expected, const QList<EXTENDVAR> &got);
std::string differenceOfImage(const Image &expected);
/// Everything that can be seen of PLC_driver, the globals and the host's settings.
std::string differenceOfState(const Model &expected, const COMINFO &settings);

/// "name" in front of a difference, if there is one.
std::string named(const std::string &name, const std::string &difference);

/// The first of these that is not empty.
std::string first(std::initializer_list<std::string> differences);

/// Does an operation so many times, or until it tells of a difference.
template <typename Operation>
std::string repeatedly(int times, Operation operation)
{
    std::string found;
    while (times-- > 0 && found.empty())
        found = operation();
    return found;
}

/// Sets a word of the host's record on both sides.
void setWord(Model &model, COMINFO &settings, int word, int value);
/// The same contents everywhere in both images.
void fillImages(Model &model, unsigned seed);

/// "5/100 x4 station 1", for the name of an operation.
std::string text(const Var &var);
std::string text(const Bytes &bytes);
std::string text(const Text &text);

} // namespace model

#endif
