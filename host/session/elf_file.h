#ifndef SESSION_ELF_FILE_H
#define SESSION_ELF_FILE_H

#include <QString>

/// Why fileName can not be loaded as a shared library on this machine, in one sentence that names the file:
/// it is missing, is a directory or unreadable, is no shared library, was built for another machine (which
/// one is said), or is cut off. Empty when none of this is the case.
QString sharedLibraryProblem(const QString& fileName);

#endif
