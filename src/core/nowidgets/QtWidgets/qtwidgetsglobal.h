#pragma once
// Every QtWidgets header includes this one first; finding it here means a
// corvane_core source pulled in widgets, which the core library must never do.
#error "corvane_core must not include QtWidgets: put widget code in corvane_gui"
