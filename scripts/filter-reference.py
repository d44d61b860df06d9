#!/usr/bin/python3
"""Reference data for the equaliser and crossover curves, computed with NumPy and SciPy, apart from the C++ code.

Writes tests/data/filters/{bands,crossovers,curves}.json; tst_filters reads them. Run it again (with
/usr/bin/python3 and python3-scipy) only when the maths the curves follow changes, and commit the output.

- Band sections follow the formulas of the equaliser (docs/dsp.md, "Filter maths"); their responses come from
  scipy.signal.freqz.
- Butterworth cascades are scipy.signal.butter's own, at the response frequencies quantised to 0.1 Hz; the
  script checks that the device's section formulas give the same curve before writing anything.
- Bessel and Linkwitz-Riley cascades use the device's short Q tables; the Bessel table is checked against the
  poles of scipy.signal.besselap.
"""
import json
import math
import os

import numpy as np
from scipy import signal

RATE = 48000.0
OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data", "filters")

BESSEL_Q = {2: [0.57735026919], 3: [0.691046625825], 4: [0.805538281842, 0.521934581669],
            5: [0.916477373948, 0.563535620851], 6: [1.02331395383, 0.611194546878, 0.510317824749],
            7: [1.12625754198, 0.660821389297, 0.5323556979],
            8: [1.22566942541, 0.710852074442, 0.559609164796, 0.505991069397]}
LR_Q = {2: [0.5], 4: [0.707, 0.707], 6: [0.5, 1.0, 1.0], 8: [0.54, 1.31, 0.54, 1.31]}


def omega(f):
    # Nearest 0.1 Hz, halves away from zero (Python's round() would round halves to even).
    return 2 * math.pi * math.floor(10 * f + 0.5) / (10 * RATE)


def respond(sections, freqs):
    """Summed dB, and phase of the product, of (b, a) sections at the quantised frequencies."""
    w = np.array([omega(f) for f in freqs])
    h = np.ones(len(freqs), dtype=complex)
    for b, a in sections:
        h *= signal.freqz(b, a, worN=w)[1]
    return 20 * np.log10(np.abs(h)), np.angle(h)


def ba(c):
    return c[0:3], c[3:6]


# Band sections -------------------------------------------------------------------------------------------

def peaking(f0, g, bw):
    w0 = 2 * math.pi * f0 / RATE
    A = 10 ** (g / 40)
    al = math.sin(w0) * math.sinh(math.log(2) / 2 * bw * w0 / math.sin(w0))
    c = -2 * math.cos(w0)
    return [1 + al * A, c, 1 - al * A, 1 + al / A, c, 1 - al / A]


def shelf(f0, g, high):
    w0 = 2 * math.pi * f0 / RATE
    A = 10 ** (g / 40)
    cs, k = math.cos(w0), 2 * math.sqrt(A) * math.sin(w0) / 2 * math.sqrt(2)
    s = -1 if high else 1  # the high shelf is the low shelf with the sign of every cos w0 term turned
    return [A * ((A + 1) - s * (A - 1) * cs + k), s * 2 * A * ((A - 1) - s * (A + 1) * cs),
            A * ((A + 1) - s * (A - 1) * cs - k), (A + 1) + s * (A - 1) * cs + k,
            -s * 2 * ((A - 1) + s * (A + 1) * cs), (A + 1) + s * (A - 1) * cs - k]


def allpass(f0, q):
    f = np.float32
    w0 = f(2) * f(math.pi) * f(f0) / f(RATE)
    al = np.sin(w0) * f(0.5) / f(q)
    b0 = (f(1) - al) / (f(1) + al)
    b1 = f(-2) * np.cos(w0) / (f(1) + al)
    return [float(b0), float(b1), 1.0, 1.0, float(b1), float(b0)]


def band_section(band):
    t, f0, g, w = band["type"], band["freq0"], band["dbGain"], band["qBwS"]
    return {0: lambda: peaking(f0, g, w), 1: lambda: shelf(f0, g, False), 2: lambda: shelf(f0, g, True),
            7: lambda: allpass(f0, w)}[t]()


# Crossover sections --------------------------------------------------------------------------------------

def second_order(f0, q, hp):
    w0 = 2 * math.pi * f0 / RATE
    al, cs = math.sin(w0) / (2 * q), math.cos(w0)
    n = (1 + cs) if hp else (1 - cs)
    return [n / 2 / (1 + al), (-n if hp else n) / (1 + al), n / 2 / (1 + al), 1.0, -2 * cs / (1 + al),
            (1 - al) / (1 + al)]


def first_order(f0, hp):
    w0 = 2 * math.pi * f0 / RATE
    sn, cs = math.sin(w0), math.cos(w0)
    b0 = (1 + cs) / (1 + sn + cs) if hp else sn / (sn + cs + 1)
    return [b0, -b0 if hp else b0, 0.0, 1.0, (sn - cs - 1) / (sn + cs + 1), 0.0]


def section_qs(family, order):
    if family == 1 and order in BESSEL_Q:
        return BESSEL_Q[order]
    if family == 2 and order in LR_Q:
        return LR_Q[order]
    return [1 / (2 * math.sin(math.pi / order * (k + 0.5))) for k in range(order // 2)]


def cascade(family, order, f0, hp):
    secs = [second_order(f0, q, hp) for q in section_qs(family, order)]
    if order % 2:
        secs.append(first_order(f0, hp))
    return secs


def check_bessel_table():
    for order, qs in BESSEL_Q.items():
        _, poles, _ = signal.besselap(order, norm="phase")
        pair_qs = sorted((abs(p) / (-2 * p.real) for p in poles if p.imag > 1e-12), reverse=True)
        assert np.allclose(pair_qs, qs, rtol=1e-9), (order, pair_qs, qs)


# The chart -----------------------------------------------------------------------------------------------

def grid():
    freqs, index = [], 0
    while index < 19980:
        freqs.append(index + 20)
        index += 1 if index < 100 else 10 if index < 1000 else 100 if index < 10000 else 500
    return freqs


def curve(eq_bypass, bands, blocks, freqs):
    live = [] if eq_bypass else [b for b in bands if not b["bypass"]]
    mag = [ba(band_section(b)) for b in live if b["type"] in (0, 1, 2)]
    for blk in blocks:
        if not blk["bypass"]:
            mag += [ba(c) for c in cascade(blk["type"], blk["order"], blk["freq0"], blk["isHpf"])]
    w = np.array([omega(f) for f in freqs])
    db = np.zeros(len(freqs))
    for b, a in mag:  # each section's dB on its own, as the chart adds them
        db += 20 * np.log10(np.abs(signal.freqz(b, a, worN=w)[1]))
    phase = np.zeros(len(freqs))
    for b in live:
        if b["type"] == 7:
            bb, aa = ba(allpass(b["freq0"], b["qBwS"]))
            phase += np.angle(signal.freqz(bb, aa, worN=w)[1])
    deg = np.degrees(phase)
    deg = deg - 360 * np.ceil((deg - 180) / 360)  # into (-180, 180]
    return (10 * db).tolist(), deg.tolist()


def f32(x):
    return float(np.float32(x))  # the band gain is held in single precision


def main():
    os.makedirs(OUT, exist_ok=True)
    check_bessel_table()

    # Off-grid frequencies on both sides of a tenth of a hertz, and the edges of the drawn range.
    probe = [20, 57.3, 100, 999.94, 1000, 1000.06, 1003.33, 1007.96, 2511.89, 10000.04, 19520]
    settings = [(0, 1000, 6, 1), (0, 100, -12, 0.5), (0, 10000, 12, 4.75), (0, 1000, 3.5, 0.017),
                (0, 40, -24, 2), (0, 1000, 0, 1), (0, 3150, -3.7, 0.333), (1, 100, 6, 1), (1, 250, -9.5, 1),
                (1, 5000, 12, 1), (2, 8000, -6, 1), (2, 1000, 4.5, 1), (2, 12000, 12, 1), (7, 1000, 0, 0.707),
                (7, 200, 0, 4.75), (7, 5000, 0, 0.017)]
    bands = []
    for t, f0, g, w in settings:
        band = {"type": t, "freq0": f0, "dbGain": f32(g), "qBwS": w}
        c = band_section(band)
        db, ph = respond([ba(c)], probe)
        bands.append(dict(band, coeffs=c, db=db.tolist(), phase=ph.tolist()))
    # The narrow band must tell 1003.33 Hz from 1003.3 Hz, or the data could not catch a lost quantisation.
    narrow = ba(peaking(1000, 3.5, 0.017))
    w_exact = 2 * math.pi * 1003.33 / RATE
    assert abs(20 * math.log10(abs(signal.freqz(*narrow, worN=[w_exact])[1][0])) - bands[3]["db"][6]) > 1e-3
    with open(os.path.join(OUT, "bands.json"), "w") as fh:
        json.dump({"frequencies": probe, "bands": bands}, fh, indent=1)

    freqs = grid()[::10] + [19520]
    crossovers = []
    for family, orders in ((0, range(1, 9)), (1, range(1, 9)), (2, (1, 2, 4, 6, 8))):
        for order in orders:
            for hp, f0 in ((True, 250.0), (False, 2500.0)):
                secs = cascade(family, order, f0, hp)
                db = respond([ba(c) for c in secs], freqs)[0]
                if family == 0:
                    sos = signal.butter(order, f0, btype="highpass" if hp else "lowpass", fs=RATE, output="sos")
                    db_ref = respond([(s[:3], s[3:]) for s in sos], freqs)[0]
                    assert np.allclose(db, db_ref, atol=1e-7), (order, hp)
                    db = db_ref
                crossovers.append({"type": family, "order": order, "isHpf": hp, "freq0": f0,
                                   "qs": section_qs(family, order), "sections": secs, "db": db.tolist()})
    with open(os.path.join(OUT, "crossovers.json"), "w") as fh:
        json.dump({"frequencies": freqs, "crossovers": crossovers}, fh, indent=1)

    def b(t, f0, g, w, bypass=False):
        return {"type": t, "freq0": f0, "dbGain": f32(g), "qBwS": w, "bypass": bypass}

    bands7 = [b(1, 80, 4.5, 1), b(0, 250, -6, 0.5, True), b(7, 640, 0, 0.707), b(0, 1600, 3.5, 1),
              b(7, 4000, 0, 2), b(2, 10200, -3, 1), b(7, 12000, 0, 1, True)]
    hp = {"type": 2, "order": 4, "freq0": 60.0, "isHpf": True, "bypass": False}
    lp = {"type": 1, "order": 6, "freq0": 15000.0, "isHpf": False, "bypass": False}
    hp3 = dict(hp, type=0, order=3)
    lp_off = dict(lp, bypass=True)
    curves = []
    for name, blocks in (("lr4-bessel6", [hp, lp]), ("butterworth3-lowpass-bypassed", [hp3, lp_off])):
        mag, phase = curve(False, bands7, blocks, grid())
        curves.append({"name": name, "highPass": blocks[0], "lowPass": blocks[1], "magnitude": mag,
                       "phase": phase})
    with open(os.path.join(OUT, "curves.json"), "w") as fh:
        json.dump({"frequencies": grid(), "bands": bands7, "curves": curves}, fh, indent=1)


if __name__ == "__main__":
    main()
