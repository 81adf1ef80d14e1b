#ifndef FGS_HOST_TEXT_ERROR_H
#define FGS_HOST_TEXT_ERROR_H

#include <QtCore/QString>
#include <stdexcept>

namespace fgs
{

/// A text that a person wrote cannot be used; the message names the text, the fault and the remedy.
class TextError : public std::runtime_error
{
public:
    explicit TextError(const QString &message) : std::runtime_error(message.toStdString()) {}
};

} // namespace fgs

#endif
