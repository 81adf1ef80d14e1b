// Files of named variables: docs/tags.md describes them.
#ifndef FGS_WATCH_TAG_FILE_H
#define FGS_WATCH_TAG_FILE_H

#include "tag.h"

namespace fgs
{

struct TagGroup {
    QString name;
    std::vector<Tag> tags; ///< at least one
};

struct TagFile {
    QString link; ///< as makeLink() takes it; empty: it has none
    std::vector<TagGroup> groups;

    /// Of all groups, in the order of the file.
    std::vector<Tag> tags() const;
};

/// What the file says. Names are unique in it; no tag is of station 0. Variables without @STATION are of the
/// station that the group or the file names, else of the given one. Throws TextError with a line for each fault.
TagFile parseTagFile(const QString &file, const QByteArray &text, int defaultStation = 1);
/// The same of a file on the disk. Throws TextError, also if it cannot be read.
TagFile readTagFile(const QString &file, int defaultStation = 1);

/// The tag that a person means: the name of one in the file, or a variable as parseTag() takes it. Throws
/// TextError.
Tag tagMeant(const TagFile &file, const QString &text, int defaultStation = 1);

} // namespace fgs

#endif
