// The driver under the reference host, which groups the twelve blocks into two requests.
#include "clients.h"
#include "host/host.h"

#include <algorithm>
#include <stdexcept>

namespace bench
{

namespace
{

class DriverClient : public Client
{
public:
    DriverClient(StruckLine &at, int attempts)
        : line(at), link(fgs::makeLink(line.path() + QStringLiteral(":115200,8N1"))),
          host(fgs::linkedDriver(), *link, allVariables(), options(attempts))
    {
        if (!link->open())
            throw std::runtime_error("the reference host cannot open the line");
        host.poll(allVariables());
    }

    bool ask(int question, Values &values) override
    {
        fgs::Step step;
        const fgs::Time end = link->now() + 2 * Bound;
        while (!step.ended && link->now() < end)
            step = host.step();
        if (line.lastQuestion() != question)
            throw std::runtime_error("the reference host asks in another order");
        values = shown(question);
        return step.ended && step.outcome == fgs::Outcome::Good;
    }

    bool showsNothingWrong(int question) override
    {
        const Values values = shown(question);
        return values == Values(values.size(), 0) || line.wasSent(question, values);
    }

private:
    static fgs::HostOptions options(int attempts)
    {
        fgs::HostOptions options;
        options.blockWords = 4;
        options.retries = attempts - 1;
        options.timing.timeout = Limit;
        options.timing.late = 2 * Limit + Limit / 2;
        return options;
    }

    static std::vector<fgs::Variable> variables(int question)
    {
        std::vector<fgs::Variable> six;
        for (int i = 1; i <= 6; ++i)
            six.push_back(fgs::parseVariable(QStringLiteral("5:%1x4").arg(1000 * question + 100 * i)));
        return six;
    }

    static std::vector<fgs::Variable> allVariables()
    {
        std::vector<fgs::Variable> all = variables(0);
        for (const fgs::Variable &variable : variables(1))
            all.push_back(variable);
        return all;
    }

    Values shown(int question) const
    {
        Values values;
        for (const fgs::Variable &variable : variables(question))
            for (quint32 value : host.values(variable))
                values.push_back(value);
        return values;
    }

    StruckLine &line;
    std::unique_ptr<fgs::Link> link;
    fgs::Host host;
};

} // namespace

Contender driverContender(int attempts)
{
    return {"driver and reference host", TARN_VERSION,
            [] { return std::unique_ptr<PolledController>(new FgsController); },
            [](StruckLine &line, int tries) { return std::unique_ptr<Client>(new DriverClient(line, tries)); },
            attempts};
}

} // namespace bench
