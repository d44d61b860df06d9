#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

/// The members a DSP document holds, as a device of this family starts them (docs/dsp.md), and the firmware's
/// acceptance of values for them: every change and every loaded document is fitted to these templates.
namespace SimDspMembers {

QJsonArray repeat(const QJsonValue &v, int n);
/// A block's "obj" by block type; lowPass picks the low-pass form of the crossover.
QJsonObject defaultObj(int type, bool lowPass = false);
QJsonObject defaultBlock(int type, bool lowPass = false);
/// A channel's own members (gain, mute, inverse, group, comments).
QJsonObject channelMembers();
/// An echo-cancellation channel: its near end is its own input.
QJsonObject aecMembers(int channel);
QJsonObject automixerObj(int channels);

/// Fits v to the shape of templ (a value of the default document) and brings every scalar to its canonical
/// form. Arrays keep the template's length unless the template is empty (free lists of text); objects hold the
/// template's members, all of them unless partial. name: the member's name, which picks its value rule.
bool conform(const QString &name, const QJsonValue &templ, const QJsonValue &v, QJsonValue *out, bool partial);
/// base with the members of changes put over it.
QJsonObject merged(QJsonObject base, const QJsonObject &changes);

} // namespace SimDspMembers
