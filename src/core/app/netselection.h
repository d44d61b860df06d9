#pragma once

#include <QStringList>

/// When the program picks the network interface by itself, and when it asks.
class NetSelection
{
public:
    enum Action {
        Nothing,   // keep the current choice
        Choose,    // take the only candidate without asking
        AskUser,   // show the interface dialog
    };

    /// At start-up: with exactly one candidate it is the choice.
    static bool autoSelect(const QStringList &candidates, QString *chosen);
    /// On each rescan while running: nothing when the list is unchanged or
    /// empty (the thread stays where it is), the only candidate when there is
    /// one, the dialog when there are several.
    static Action onRescan(const QStringList &previous, const QStringList &current);
};
