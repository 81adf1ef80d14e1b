// Any text, also one of odd characters, wherever the driver takes an address text.
#include "stage.h"

namespace
{

class Texts : public fuzz::Stage<model::StorageOperations>
{
public:
    void begin(int mode)
    {
        reset();
        expected = model::Model();
        set(model::blockWords, 30);
        set(model::defaultStation, 1);
        set(model::stationMode, mode);
    }

    void compare(int areaType, const model::Text &text)
    {
        using Step = std::string (Texts::*)(int, const model::Text &);
        std::string found;
        for (const Step step : {&Texts::convert, &Texts::read, &Texts::writeLocally, &Texts::write, &Texts::queue,
                                &Texts::rebuild, &Texts::state})
            found = found.empty() ? (this->*step)(areaType, text) : found;
        if (!found.empty())
            fuzz::finding("area " + std::to_string(areaType) + " text " + model::text(text) + ": " + found);
    }

private:
    std::string convert(int areaType, const model::Text &text)
    {
        const QString given = model::toDriver(text);
        const std::string found =
            model::named("StringAddressToInt", model::difference(model::StringAddressToInt(areaType, text),
                                                                 ::StringAddressToInt(areaType, given)));
        return found.empty() ? model::named("PLCAddressChangeIntef",
                                            model::difference(model::PLCAddressChangeIntef(areaType, text),
                                                              ::PLCAddressChangeIntef(areaType, given)))
                             : found;
    }

    std::string read(int areaType, const model::Text &text)
    {
        model::Bytes out;
        QByteArray got;
        const int result = expected.GetRegisterData(areaType, text, 1, out, 3);
        const int gotResult = GetRegisterData(0, areaType, model::toDriver(text), 1, &got, 3);
        const std::string found = model::named("GetRegisterData", model::difference(result, gotResult));
        return found.empty() ? model::named("out", model::difference(out, got)) : found;
    }

    std::string writeLocally(int areaType, const model::Text &text)
    {
        set(model::writeMode, 0);
        return hostCallAt(areaType, text);
    }

    std::string write(int areaType, const model::Text &text)
    {
        set(model::writeMode, 2);
        return hostCallAt(areaType, text);
    }

    std::string hostCallAt(int areaType, const model::Text &text)
    {
        const model::Bytes values = {1, 0, 1, 1, 0, 1};
        QByteArray given = model::toDriver(values);
        const int result = expected.SetRegisterData(u"", areaType, text, 1, values, 3, 4, 5);
        const int got = SetRegisterData(QString(), areaType, model::toDriver(text), 1, &given, 3, 4, 5);
        return model::named("SetRegisterData", model::difference(result, got));
    }

    std::string queue(int areaType, const model::Text &text)
    {
        model::Var var;
        var.areaType = areaType;
        var.addressText = text;
        var.station = 1;
        var.length = 3;
        RW_VAR record = model::toDriver(var);
        const int result = expected.AddListOnceReadVar(var, 0);
        return model::named("AddListOnceReadVar", model::difference(result, AddListOnceReadVar(&record, 0)));
    }

    std::string rebuild(int areaType, const model::Text &text)
    {
        const std::vector<model::HostVar> list = {{areaType & 255, 1, text, 3}};
        QList<HOST_VAR> host = model::toDriver(list);
        const int result = expected.ReCreatReadVarList(list);
        return model::named("ReCreatReadVarList", model::difference(result, ReCreatReadVarList(&host)));
    }

    std::string state(int, const model::Text &) { return model::differenceOfState(expected, settings); }
};

// A byte a character, or two.
model::Text anyText(fuzz::Input &input)
{
    const bool wide = input.oneIn(3);
    model::Text text;
    for (int left = input.between(0, 30); left > 0 && !input.isUsedUp(); --left)
        text += static_cast<char16_t>(input.below(wide ? 65536 : 256));
    return text;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static Texts stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.begin(input.between(0, 1));
    while (!input.isUsedUp()) {
        const int areaType = input.oneIn(10) ? model::anyInt(random) : input.between(0, 14);
        stage.compare(areaType, anyText(input));
    }
    return 0;
}
