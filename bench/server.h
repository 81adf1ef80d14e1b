// The other end of a link: a program beside this one, whose first line of output tells where it can be reached.
#ifndef BENCH_SERVER_H
#define BENCH_SERVER_H

#include <QtCore/QProcess>

namespace bench
{

class Server
{
public:
    Server(const QString &program, const QStringList &arguments);
    ~Server();

    const QString &address() const { return text; }

private:
    QProcess process;
    QString text;
};

} // namespace bench

#endif
