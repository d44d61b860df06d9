#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

/// The coefficients of a custom FIR block read from a file the user picks. docs/dsp.md, "FIR design",
/// gives the accepted forms.
namespace FirImport {

enum class Status { Ok, OpenFailed, ParseFailed, TooMany };

struct Result
{
    Status status = Status::ParseFailed;
    QVector<double> values; ///< empty unless Ok
    int maxTaps = 0;

    bool ok() const { return status == Status::Ok; }
    /// The notice shown for a failure, in the current language; empty when Ok.
    QString message() const;
};

/// The numbers of a file's text: a JSON array of numbers (or of strings holding one, as documents write
/// them), or numbers separated by commas, semicolons, blanks or line breaks, any of them inside "()" or "[]".
/// In text, a first line that holds no number at all (a spreadsheet's column names) is skipped.
/// An empty list, a token that is not a whole finite decimal number, or more than maxTaps numbers refuses
/// the whole text.
Result parse(const QByteArray &text, int maxTaps);
/// parse() of a file's contents; OpenFailed when it cannot be read.
Result readFile(const QString &path, int maxTaps);

} // namespace FirImport
