#ifndef TOOLS_ADDRESS_H
#define TOOLS_ADDRESS_H

#include <QByteArray>
#include <QString>

/// The run of ASCII letters and "_" at the start of the text, as it is written: "DI_X" of "DI_X3", "FN" of
/// "FN5DO1". Empty if the text begins otherwise. A QString is taken as Latin-1.
Q_DECL_EXPORT QByteArray ExtractPrefixSymbol(const QString& text);
Q_DECL_EXPORT QByteArray ExtractPrefixSymbol(const QByteArray& text);

/// The number in a tag address, in base 8, 10 or 16; -1 for another base. It begins at the first character
/// that is a digit of the base, so in base 16 at a letter A to F already, and goes to the end of the text. A
/// text whose rest is not a number as a whole gives 0: "DI100.5", also "DO". "DO17" gives 17. A QString is
/// taken as Latin-1.
Q_DECL_EXPORT int ExtractPLCDeviceAddress(const QByteArray& text, int base);
Q_DECL_EXPORT int ExtractPLCDeviceAddress(const QString& text, int base);

#endif
