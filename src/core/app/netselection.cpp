#include "core/app/netselection.h"

bool NetSelection::autoSelect(const QStringList &candidates, QString *chosen)
{
    if (candidates.size() != 1)
        return false;
    *chosen = candidates.first();
    return true;
}

NetSelection::Action NetSelection::onRescan(const QStringList &previous, const QStringList &current)
{
    if (current == previous || current.isEmpty())
        return Nothing;
    return current.size() == 1 ? Choose : AskUser;
}
