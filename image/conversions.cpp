// Between the fixed image and byte strings.
#include "image/conversions_p.h"

namespace
{

template <typename Element>
Clip clipBits(const ImageView<Element> &view, int start, qint64 count)
{
    const int bits = 8 * sizeof(Element);
    return Clip(start, count, view.first * bits, view.end * bits);
}

template <typename Element>
void getBits(QByteArray &out, const ImageView<Element> &view, int start, int count)
{
    const int bits = 8 * sizeof(Element);
    const Clip clip = clipBits(view, start, count);
    char *const bytes = clip.isEmpty() ? 0 : grown(out, clip.end, clip.begin);
    for (qint64 i = clip.begin; bytes && i < clip.end; ++i) {
        const qint64 at = start + i;
        bytes[i] = char((view.base[at / bits] >> (at & (bits - 1))) & 1);
    }
}

template <typename Element>
void setBits(const ImageView<Element> &view, int start, const QByteArray *in, int count)
{
    const int bits = 8 * sizeof(Element);
    const Clip clip = clipBits(view, start, in ? qMin(count, int(in->size())) : 0);
    for (qint64 i = clip.begin; i < clip.end; ++i) {
        const qint64 at = start + i;
        const Element mask = Element(1u << (at & (bits - 1)));
        Element &element = view.base[at / bits];
        element = Element(in->at(int(i)) == 1 ? element | mask : element & ~mask); // Deliberate: behaviour 301.
    }
}

/// Little-endian bytes of elements start .. start + count - 1.
template <typename Element>
void getElements(QByteArray &out, const ImageView<Element> &view, int start, qint64 count)
{
    const qint64 width = sizeof(Element);
    const Clip clip(start, count, view.first, view.end);
    char *const bytes = clip.isEmpty() ? 0 : grown(out, clip.end * width, clip.begin * width);
    if (bytes)
        memcpy(bytes + clip.begin * width, view.base + start + clip.begin, size_t((clip.end - clip.begin) * width));
}

template <typename Element>
void setElements(const ImageView<Element> &view, int start, const QByteArray *in, qint64 count)
{
    const qint64 width = sizeof(Element);
    const Clip clip(start, in ? qMin(count, qint64(in->size() / width)) : 0, view.first, view.end);
    if (!clip.isEmpty())
        memcpy(view.base + start + clip.begin, in->constData() + clip.begin * width,
               size_t((clip.end - clip.begin) * width));
}

/// Double words counted in 16-bit words. Deliberate: behaviour 302.
void getDoubleWords(QByteArray &out, const ImageView<unsigned int> &view, int start, int count)
{
    if (count != 1)
        return getElements(out, view, start, count / 2);
    QByteArray whole;
    getElements(whole, view, start, 1);
    if (!whole.isEmpty())
        memcpy(grown(out, 2, 0), whole.constData(), 2);
}

void setDoubleWords(const ImageView<unsigned int> &view, int start, const QByteArray *in, int count)
{
    setElements(view, start, in, count / 2); // Deliberate: behaviour 302.
}

} // namespace

char *grown(QByteArray &array, qint64 size, qint64 written)
{
    const int before = int(array.size());
    if (size > before) { // Deliberate: behaviour 307.
        if (size > 0x7fff0000)
            return 0;
        array.resize(int(size));
        if (written > before)
            memset(array.data() + before, 0, size_t(written - before));
    }
    return array.data();
}

void readFixed(const Area &area, int address, int length, QByteArray &out)
{
    switch (area.kind) {
    case BitKind:
        return getBits(out, wholeOf<unsigned char>(area), address, length);
    case WordKind:
        return getElements(out, wholeOf<unsigned short>(area), address, length);
    case DoubleWordKind:
        return getDoubleWords(out, wholeOf<unsigned int>(area), address, length);
    case NoKind:
        return;
    }
}

void writeFixed(const Area &area, const RW_VAR &var)
{
    switch (area.kind) {
    case BitKind:
        return setBits(wholeOf<unsigned char>(area), var.address, &var.data, var.length);
    case WordKind:
        return setElements(wholeOf<unsigned short>(area), var.address, &var.data, var.length);
    case DoubleWordKind:
        return setDoubleWords(wholeOf<unsigned int>(area), var.address, &var.data, var.length);
    case NoKind:
        return;
    }
}

void GetBitFromUC(QByteArray &out, unsigned char *buffer, int start, int count)
{
    getBits(out, viewOf(buffer), start, count);
}

void GetBitFromUS(QByteArray &out, unsigned short *buffer, int start, int count)
{
    getBits(out, viewOf(buffer), start, count);
}

void GetWordFromUS(QByteArray &out, unsigned short *buffer, int start, int count)
{
    getElements(out, viewOf(buffer), start, count);
}

void GetWordFromUI(QByteArray &out, unsigned int *buffer, int start, int count)
{
    getDoubleWords(out, viewOf(buffer), start, count);
}

void SetBitToUC(int start, unsigned char *buffer, QByteArray *in, int count)
{
    setBits(viewOf(buffer), start, in, count);
}

void SetBitToUS(int start, unsigned short *buffer, QByteArray *in, int count)
{
    setBits(viewOf(buffer), start, in, count);
}

void SetWordToUS(int start, unsigned short *buffer, QByteArray *in, int count)
{
    setElements(viewOf(buffer), start, in, count);
}

void SetWordToUI(int start, unsigned int *buffer, QByteArray *in, int count)
{
    setDoubleWords(viewOf(buffer), start, in, count);
}
