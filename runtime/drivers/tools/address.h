#ifndef TOOLS_ADDRESS_H
#define TOOLS_ADDRESS_H

#include <QByteArray>
#include <QString>

/// The run of ASCII letters and "_" at the start of the text, as written: "DI_X" of "DI_X3", "FN" of
/// "FN5DO1". Empty if the text begins otherwise. A QString is taken as Latin-1.
Q_DECL_EXPORT QByteArray ExtractPrefixSymbol(const QString& text);
Q_DECL_EXPORT QByteArray ExtractPrefixSymbol(const QByteArray& text);

/// The number in a tag address, in base 8, 10 or 16; -1 for any other base. It starts at the first character
/// that is a digit of the base (in base 16 also a letter A to F) and ends with the text: "DO17" gives 17. If
/// the rest of the text is not one number, the result is 0: "DI100.5", "DO". A QString is taken as Latin-1.
Q_DECL_EXPORT int ExtractPLCDeviceAddress(const QByteArray& text, int base);
Q_DECL_EXPORT int ExtractPLCDeviceAddress(const QString& text, int base);

#endif
