// Checked replies into the register image.
#include "protocol/Func_DealData_p.h"

#include "protocol/frame_p.h"
#include "protocol/Func_Read_p.h"

int iTimes;

namespace
{

// Inlined it saves 2 to 6 % of a poll on the panel.
template <typename Element>
inline __attribute__((always_inline)) void store(const ReplyView &reply, const StoredPiece &piece,
                                                 const ImageView<Element> &view)
{
    const int width = sizeof(Element);
    const qint64 first = width == 1 ? piece.var->address / 8 : piece.var->address; // Deliberate: behaviour 443.
    Clip clip(first, piece.length / width, view.first, view.end);
    if (piece.start < 0)
        clip.begin = qMax(clip.begin, (width - 1 - qint64(piece.start)) / width);
    if (piece.start + clip.end * width > reply.size) // Deliberate: behaviour 442.
        clip.end = (reply.size - piece.start) / width;
    if (!clip.isEmpty())
        copyElements(view.base + first + clip.begin, reply.bytes + piece.start + clip.begin * width,
                     cut(clip.end - clip.begin), width);
}

void storeFixed(const QByteArray *reply, const StoredPiece &piece, const Area &area)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
{
    switch (area.kind) {
    case BitKind:
        return store(ReplyView(reply), piece, wholeOf<unsigned char>(area));
    case WordKind:
        return store(ReplyView(reply), piece, wholeOf<unsigned short>(area));
    case DoubleWordKind:
        return store(ReplyView(reply), piece, wholeOf<unsigned int>(area));
    case NoKind:
        return; // Deliberate: behaviour 444.
    }
}

/// The piece of variable iTimes of the request in flight.
StoredPiece currentPiece()
{
    if (iTimes < 0 || iTimes >= GroupLimit || iTimes >= int(CurrentRWVar.size())) // Deliberate: behaviour 445.
        return StoredPiece{0, 0, 0};
    return StoredPiece{&CurrentRWVar.at(iTimes), iRet_ValidStar[iTimes], iRet_ValidLen[iTimes]};
}

} // namespace

template <typename Element>
void storeElements(const QByteArray *reply, const StoredPiece &piece, Element *buffer)
{
    if (piece.var)
        store(ReplyView(reply), piece, viewOf(buffer));
}

template void storeElements(const QByteArray *, const StoredPiece &, unsigned char *);
template void storeElements(const QByteArray *, const StoredPiece &, unsigned short *);
template void storeElements(const QByteArray *, const StoredPiece &, unsigned int *);

void storePiece(const QByteArray *reply, const StoredPiece &piece, int &lastEntry)
{
    if (!piece.var)
        return;
    const Area &area = areaOf(piece.var->areaType);
    if (settings().stationMode)
        storePerStation(reply, piece, area, lastEntry);
    else
        storeFixed(reply, piece, area);
}

void SaveToLocalDataErea(QByteArray *reply)
{
    int lastEntry = 0;
    const int last = qMin(settings().groupExtra, GroupLimit - 1); // Deliberate: behaviour 445.
    for (iTimes = 0; iTimes <= last; ++iTimes)
        storePiece(reply, currentPiece(), lastEntry);
}

void SaveBitToUC(QByteArray *reply, unsigned char *buffer)
{
    storeElements(reply, currentPiece(), buffer);
}

void SaveWordToUS(QByteArray *reply, unsigned short *buffer)
{
    storeElements(reply, currentPiece(), buffer);
}

void SaveWordToUI(QByteArray *reply, unsigned int *buffer)
{
    storeElements(reply, currentPiece(), buffer);
}

void SpecialRegisterSave(QByteArray *, unsigned short *) {}
