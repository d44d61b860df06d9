#include "core/dsp/dspbudget.h"
