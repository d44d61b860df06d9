#!/usr/bin/python3
"""Reference data for the FIR designer's tests, computed with SciPy and NumPy only.

Writes tests/data/fir/{windows,kaiser,curve}.json. The tests read these files and never run Python;
run this again (with /usr/bin/python3 and python3-scipy) only when the designs it describes change:

    /usr/bin/python3 scripts/fir-reference.py

Every design is scipy.signal.firwin with scale=False, which is the windowed ideal response the editor sends:
a low-pass [0, f], a high-pass [f, fs/2] and a band-pass [f0, f1].
"""

import json
import math
import os

import numpy as np
import scipy
import scipy.signal as signal

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data", "fir")
RATE = 48000.0
NO_UPPER = 20001.0

# winType -> the window's SciPy name; Kaiser is added per attenuation below.
WINDOWS = {0: "boxcar", 1: "hann", 2: "hamming", 3: "blackman"}
STORED_ATT = {0: 21, 1: 44, 2: 53, 3: 74}


def firwin(fir_type, taps, f0, f1, window, rate):
    if fir_type == 0:
        return signal.firwin(taps, f0, window=window, pass_zero=True, scale=False, fs=rate)
    if fir_type == 1:
        return signal.firwin(taps, f0, window=window, pass_zero=False, scale=False, fs=rate)
    return signal.firwin(taps, [f0, f1], window=window, pass_zero=False, scale=False, fs=rate)


def case(fir_type, win_type, taps, f0, f1, att, window, rate=RATE):
    h = firwin(fir_type, taps, f0, f1, window, rate)
    return {"firType": fir_type, "winType": win_type, "taps": taps, "freq0": f0, "freq1": f1, "attDb": att,
            "rate": rate, "arr": [float(v) for v in h]}


# The three types with their edges (lower, upper) as the editor sends them.
TYPES = [(0, 1000.0, NO_UPPER), (1, 1000.0, NO_UPPER), (2, 500.0, 4000.0)]


def windows():
    cases = []
    for win_type, name in WINDOWS.items():
        for fir_type, f0, f1 in TYPES:
            for taps in (127, 255):
                cases.append(case(fir_type, win_type, taps, f0, f1, STORED_ATT[win_type], name))
    # The design follows the device's rate when it is not 48 kHz.
    cases.append(case(0, 2, 127, 1000.0, NO_UPPER, 53, "hamming", rate=96000.0))
    return {"cases": cases}


def i0_sixteen(x):
    return sum(((x / 2.0) ** k / math.factorial(k)) ** 2 for k in range(16))


def kaiser():
    entries = []
    for att in (21, 40, 60, 100):
        # SciPy's beta: the same formula for these figures (it differs only at exactly 50 dB, not used here).
        beta = float(signal.kaiser_beta(att)) if att > 21 else 0.0
        # firwin's Kaiser uses the exact I0; the designer sums sixteen terms, which differs by at most a few
        # parts in 1e8 at 100 dB, so the tests compare designs within that and I0 against both sums.
        designs = [case(0, 4, 255, 1000.0, NO_UPPER, att, ("kaiser", beta)),
                   case(2, 4, 127, 500.0, 4000.0, att, ("kaiser", beta))]
        entries.append({"attDb": att, "beta": beta, "i0Sixteen": i0_sixteen(beta), "i0Exact": float(np.i0(beta)),
                        "designs": designs})
    return {"cases": entries}


def grid():
    f, i = [], 0
    while i < 19980:
        f.append(20.0 + i)
        i += 1 if i < 200 else 2 if i < 500 else 10 if i < 1000 else 20 if i < 10000 else 100
    return f


def curve():
    c = case(0, 2, 255, 1000.0, NO_UPPER, 53, "hamming")
    freqs = grid()
    w = [2.0 * math.pi * round(10.0 * f) / 480000.0 for f in freqs]
    _, resp = signal.freqz(c["arr"], worN=np.array(w))
    db = [float(20.0 * math.log10(abs(r))) for r in resp]
    return {"design": c, "freqs": freqs, "db": db}


def write(name, data):
    data["generator"] = "scripts/fir-reference.py, SciPy %s, NumPy %s" % (scipy.__version__, np.__version__)
    with open(os.path.join(OUT, name), "w") as f:
        json.dump(data, f, separators=(",", ":"), sort_keys=True)
        f.write("\n")


if __name__ == "__main__":
    os.makedirs(OUT, exist_ok=True)
    write("windows.json", windows())
    write("kaiser.json", kaiser())
    write("curve.json", curve())
