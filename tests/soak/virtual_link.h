// The host's link in virtual time: the line behind it answers after some milliseconds, or too late.
#ifndef TARN_TESTS_VIRTUAL_LINK_H
#define TARN_TESTS_VIRTUAL_LINK_H

#include "host/link.h"
#include "line.h"

#include <map>

namespace soak
{

class VirtualLink : public fgs::Link
{
public:
    explicit VirtualLink(Line &far) : line(far) {}

    std::uint64_t sent = 0;

    bool open() override { return true; }
    bool isOpen() const override { return true; }
    QString error() const override { return QString(); }
    bool send(const char *bytes, int size) override;
    int receive(char *bytes, int most, fgs::Time deadline) override;
    fgs::Time now() const override { return clock; }
    void pauseUntil(fgs::Time time) override { clock = std::max(clock, time); }

private:
    void arrive(fgs::Time after, const QByteArray &bytes);

    Line &line;
    fgs::Time clock{0};
    std::multimap<fgs::Time, QByteArray> arrivals;
};

} // namespace soak

#endif
