// A host on a line in virtual time, and what a test asks it for.
#ifndef TARN_TESTS_WATCH_TEST_H
#define TARN_TESTS_WATCH_TEST_H

#include "support/fake_link.h"
#include "watch/reading.h"

namespace fgs
{

inline void PrintTo(Quality quality, std::ostream *out)
{
    *out << keyOf(quality);
}

class WatchTest : public DriverTest
{
protected:
    static std::vector<Variable> parse(const std::vector<const char *> &texts)
    {
        std::vector<Variable> variables;
        for (const char *text : texts)
            variables.push_back(parseVariable(QString::fromLatin1(text)));
        return variables;
    }

    Host &start(const std::vector<const char *> &texts)
    {
        variables = parse(texts);
        return *(host = std::make_unique<Host>(linkedDriver(), link, variables));
    }

    /// What the controller holds.
    std::vector<quint32> held(const Variable &variable) const
    {
        std::vector<quint32> values;
        for (int i = 0; i < variable.count; ++i)
            values.push_back(
                link.controller.at(variable.station, areaOf(variable.area)->code, variable.address + i));
        return values;
    }

    static std::string text(const QString &of) { return of.toStdString(); }

    std::vector<Variable> variables;
    FakeLink link;
    std::unique_ptr<Host> host;
};

} // namespace fgs

#endif
