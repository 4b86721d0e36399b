#!/usr/bin/env python3
"""Works numbers of the examples' reports out again by the equations of doc/theory.md alone: constants,
interaction parameters and mixtures are read off the reports, nothing of the program is used. Prints what
it compares; exit status 1 if a number is off by more than the digits of the constants allow."""
import math
import pathlib
import re
import sys

REPORTS = pathlib.Path(__file__).resolve().parents[1] / "scripts/examples"
R, GRAVITY, ATM, PSI = 8314.472, 9.80665, 101325.0, 6894.757293168361
WATER, CUBIC_FOOT, BARREL = 999.024, 0.028316846592, 0.158987294928
# Peng-Robinson, from the conditions of the critical point.
OMEGA_A, OMEGA_B = 0.457235528921, 0.0777960739039
ROOT2 = math.sqrt(2.0)


def kelvin(fahrenheit):
    return (fahrenheit + 459.67) / 1.8


def m_of_omega(omega):
    if omega <= 0.49:
        return 0.37464 + 1.54226 * omega - 0.26992 * omega**2
    return 0.379642 + 1.48503 * omega - 0.164423 * omega**2 + 0.016666 * omega**3


def real_roots(a, b, c):
    """Of z^3 + a z^2 + b z + c, polished."""
    p, q = b - a * a / 3, 2 * a**3 / 27 - a * b / 3 + c
    square = (q / 2) ** 2 + (p / 3) ** 3
    if square > 0:
        u, v = -q / 2 + math.sqrt(square), -q / 2 - math.sqrt(square)
        shifted = [math.copysign(abs(u) ** (1 / 3), u) + math.copysign(abs(v) ** (1 / 3), v)]
    else:
        r = math.sqrt(-p / 3)
        angle = math.acos(max(-1.0, min(1.0, 1.5 * q / (p * r))))
        shifted = [2 * r * math.cos((angle - 2 * math.pi * k) / 3) for k in range(3)]
    roots = []
    for y in shifted:
        z = y - a / 3
        for _ in range(50):
            slope = (3 * z + 2 * a) * z + b
            if slope == 0.0:
                break
            z -= (((z + a) * z + b) * z + c) / slope
        roots.append(z)
    return roots


class Fluid:
    """The component table of a report, in K and Pa."""

    def __init__(self, report, number=0):
        text = report.split("Critical Properties:")[number + 1].splitlines()
        rule = next(i for i, line in enumerate(text) if line.startswith(" ----"))
        spans = [match.span() for match in re.finditer("-+", text[rule])]
        heads = [text[rule - 1][start:end].strip() for start, end in spans]
        self.names, columns = [], {head: [] for head in heads}
        for line in text[rule + 1:]:
            if not line.strip():
                break
            cells = [line[start:end].strip() for start, end in spans]
            self.names.append(cells[0])
            for head, cell in zip(heads[1:], cells[1:]):
                columns[head].append(float(cell) if cell else math.nan)
        self.n = len(self.names)
        self.mw, self.omega = columns["Mol Wt"], columns["AF"]
        self.tc = [value / 1.8 for value in columns["Tc (R)"]]
        self.pc = [value * PSI for value in columns["Pc (psia)"]]
        self.shift = columns["Vol Tran"]
        self.columns = columns
        self.b = [OMEGA_B * R * t / p for t, p in zip(self.tc, self.pc)]
        self.k = self.parameters(text)

    def parameters(self, text):
        k = [[0.0] * self.n for _ in range(self.n)]
        start = next((i for i, line in enumerate(text) if line.startswith("Binary")), None)
        if start is not None:
            for i, line in enumerate(text[start + 4:start + 4 + self.n]):
                k[i] = [float(cell) for cell in line.split()[1:]]
        return k

    def a(self, T):
        return [OMEGA_A * (R * tc) ** 2 / pc * (1 + m_of_omega(w) * (1 - math.sqrt(T / tc))) ** 2
                for tc, pc, w in zip(self.tc, self.pc, self.omega)]

    def mean(self, x, values):
        return sum(share * value for share, value in zip(x, values))

    def phase(self, x, T, P, root="stable"):
        """Z as printed, and ln phi before translation, of the root named or of lower Gibbs energy."""
        pure = self.a(T)
        rows = [sum(x[j] * (1 - self.k[i][j]) * math.sqrt(pure[i] * pure[j]) for j in range(self.n))
                for i in range(self.n)]
        a, b = self.mean(x, rows), self.mean(x, self.b)
        A, B = a * P / (R * T) ** 2, b * P / (R * T)

        def ln_phi(Z):
            log = math.log((Z + (1 + ROOT2) * B) / (Z + (1 - ROOT2) * B))
            return [self.b[i] / b * (Z - 1) - math.log(Z - B) -
                    A / (2 * ROOT2 * B) * (2 * rows[i] / a - self.b[i] / b) * log for i in range(self.n)]

        roots = [Z for Z in real_roots(B - 1, A - 3 * B * B - 2 * B, -(A * B - B * B - B**3)) if Z > B]
        Z = {"liquid": min, "vapor": max}.get(root, lambda all: min(
            all, key=lambda z: self.mean(x, ln_phi(z))))(roots)
        return Z - P / (R * T) * self.mean(x, [s * c for s, c in zip(self.shift, self.b)]), ln_phi(Z)

    def wilson(self, T, P):
        return [pc / P * math.exp(5.37 * (1 + w) * (1 - tc / T))
                for tc, pc, w in zip(self.tc, self.pc, self.omega)]

    def flash(self, z, T, P):
        """Successive substitution: vapor fraction, x, y, K, Z of x and y."""
        K = self.wilson(T, P)
        for _ in range(2000):
            low, high = 1 / (1 - max(K)), 1 / (1 - min(K))
            for _ in range(200):
                V = (low + high) / 2
                if sum(z[i] * (K[i] - 1) / (1 + V * (K[i] - 1)) for i in range(self.n)) > 0:
                    low = V
                else:
                    high = V
            x = [z[i] / (1 + V * (K[i] - 1)) for i in range(self.n)]
            y = [K[i] * x[i] for i in range(self.n)]
            (Zx, phi_x), (Zy, phi_y) = self.phase(x, T, P), self.phase(y, T, P)
            new = [math.exp(p - q) for p, q in zip(phi_x, phi_y)]
            if max(abs(math.log(p / q)) for p, q in zip(new, K)) < 1e-12:
                break
            K = new
        return V, x, y, new, Zx, Zy

    def bubble_point(self, z, T, P):
        """Pressure where sum z K = 1, y, Z of the liquid."""
        K = self.wilson(T, P)
        for _ in range(2000):
            total = self.mean(z, K)
            y = [share * k / total for share, k in zip(z, K)]
            (Zx, phi_x), (_, phi_y) = self.phase(z, T, P, "liquid"), self.phase(y, T, P, "vapor")
            K = [math.exp(p - q) for p, q in zip(phi_x, phi_y)]
            P *= self.mean(z, K) ** 0.7
            if abs(self.mean(z, K) - 1) < 1e-12:
                break
        return P, y, Zx

    def viscosity(self, x, T, P, Z, vc):
        """Lohrenz, Bray and Clark, cp; vc in m3/kmol."""
        above = below = 0.0
        for share, tc, pc, mw in zip(x, self.tc, self.pc, self.mw):
            xi = tc ** (1 / 6) / (math.sqrt(mw) * (pc / ATM) ** (2 / 3))
            Tr = T / tc
            mu = (3.4e-4 * Tr**0.94 if Tr <= 1.5 else 1.778e-4 * (4.58 * Tr - 1.67) ** 0.625) / xi
            above += share * math.sqrt(mw) * mu
            below += share * math.sqrt(mw)
        tc, pc, mw = self.mean(x, self.tc), self.mean(x, self.pc) / ATM, self.mean(x, self.mw)
        r = self.mean(x, vc) * P / (Z * R * T)
        q = sum(p * r**i for i, p in enumerate((0.1023, 0.023364, 0.058533, -0.040758, 0.0093324)))
        xi = tc ** (1 / 6) / (math.sqrt(mw) * pc ** (2 / 3))
        return above / below + (q**4 - 0.1**4) / xi

    def column(self, z, T, P, height):
        """Pressure and composition at a height above z in equilibrium with it."""
        def potentials(x, pressure):
            ln_phi = self.phase(x, T, pressure)[1]
            return [p - s * b * pressure / (R * T) for p, s, b in zip(ln_phi, self.shift, self.b)]

        here, t, pressure = potentials(z, P), list(z), P
        for _ in range(5000):
            there = potentials(t, pressure)
            new = [z[i] * P / pressure * math.exp(here[i] - there[i] - self.mw[i] * GRAVITY * height / (R * T))
                   for i in range(self.n)]
            total = sum(new)
            change = max(abs(p / total - q) for p, q in zip(new, t)) + abs(total - 1)
            t = [(p / total + q) / 2 for p, q in zip(new, t)]
            pressure *= total**0.3
            if change < 1e-13:
                break
        return pressure, t


def mole_fractions(report, name="FEED"):
    block = report.split(f'Mixture "{name}" Compositions')[1].split("Totals:")[0]
    moles = [float(line.split()[1]) for line in block.splitlines()[5:] if line.strip()]
    return [value / sum(moles) for value in moles]


def number(report, pattern):
    return float(re.search(pattern, report).group(1))


FAILED = []


def compare(what, by_hand, printed, tolerance):
    off = abs(by_hand - printed)
    good = off <= tolerance
    print(f"{what:58} {by_hand:14.6f} {printed:14.6f} {'' if good else '  DIFFERS'}")
    if not good:
        FAILED.append(what)


def check_flash(report):
    fluid, z = Fluid(report), mole_fractions(report)
    V, _, _, K, Zx, Zy = fluid.flash(z, kelvin(280), 500 * PSI)
    table = report.split("K-Value")[1]
    rows = re.findall(r"^(C1|C4|C10) +\S+ +\S+ +\S+ +(\S+)$", table, re.M)
    # All constants are printed in full, so that the last digit printed has to agree.
    compare("ternary flash, 500 psia: vapor fraction", V,
            number(report, r"Rel. Moles: +1.0000 +\S+ +(\S+)"), 0.51e-4)
    for i, (name, printed) in enumerate(rows[:3]):
        compare(f"  K-value of {name}", K[i], float(printed), 0.51 * 10.0 ** (-len(printed.split(".")[1])))
    compare("  Z of the liquid", Zx, number(report, r"Z-Factor: +\S+ +(\S+)"), 0.51e-4)
    compare("  Z of the vapor", Zy, number(report, r"Z-Factor: +\S+ +\S+ +(\S+)"), 0.51e-4)


def check_oil(report, study):
    """Five digits of the constants leave about one in 40,000 of a pressure."""
    fluid, z, T = Fluid(report), mole_fractions(report), kelvin(220)
    P, y, Z = fluid.bubble_point(z, T, 2500 * PSI)
    compare("black oil: bubble point, psig", P / PSI - 14.65, number(report, r"Pressure = (\S+) psig"), 0.2)
    compare("  methane in the first gas", y[2], number(report, r"C1 +0.364700 +0.364700 +(\S+)"), 2e-5)
    high = fluid.phase(z, T, 5014.65 * PSI)[0]
    compare("  relative volume at 5000 psig", high / (5014.65 * PSI) / (Z / P),
            number(study, r"1 +5000.0 +(\S+)"), 1e-4)
    # The fluid of the study has no column of critical volumes: they follow from Zc = 0.291 - 0.08 w.
    vc = [R * (0.291 - 0.08 * w) * tc / pc for w, tc, pc in zip(fluid.omega, fluid.tc, fluid.pc)]
    P = 4014.65 * PSI
    compare("  viscosity at 4000 psig, cp", fluid.viscosity(z, T, P, fluid.phase(z, T, P)[0], vc),
            number(study, r"4 +4000.0 +\S+ +\S+ +\S+ +\S+ +(\S+)"), 2e-5)
    heavy = fluid.names.index("C7+")
    volume = fluid.b[heavy] * fluid.shift[heavy] + 218.0 / (0.8515 * WATER)
    alone = [0.0] * fluid.n
    alone[heavy] = 1.0
    untranslated = fluid.phase(alone, kelvin(60), ATM, "liquid")[0] * R * kelvin(60) / ATM + \
        fluid.b[heavy] * fluid.shift[heavy]
    compare("  volume of C7+ at 60 F from its gravity, m3/kmol", untranslated, volume, 1e-5)


def check_use(report):
    fluid, z, T = Fluid(report), mole_fractions(report, "Reservoir"), kelvin(220)
    P, _, Z = fluid.bubble_point(z, T, 2600 * PSI)
    compare("matched oil: bubble point, psig", P / PSI - 14.65,
            number(report, r"Calc. Bubble Point Pressure =  (\S+) psig"), 0.2)
    first, x1, _, _, _, _ = fluid.flash(z, kelvin(75), 114.65 * PSI)
    second, x2, _, _, _, _ = fluid.flash(x1, kelvin(75), 14.65 * PSI)
    oil = (1 - first) * (1 - second)
    tank = fluid.phase(x2, kelvin(60), ATM, "liquid")[0] * R * kelvin(60) / ATM
    gas = (1 - oil) * R * kelvin(60) / ATM
    compare("  total gas-oil ratio, scf/bbl", gas / CUBIC_FOOT / (oil * tank / BARREL),
            number(report, r"Total +\S+ +(\S+)\n\nProduct Oil"), 0.05)
    compare("  formation volume factor", Z * R * T / P / (oil * tank),
            number(report, r"Formation Volume Factor = (\S+)"), 1e-4)
    compare("  gravity of the tank oil, API", 141.5 * WATER / (fluid.mean(x2, fluid.mw) / tank) - 131.5,
            number(report, r"Gravity \(API\) = (\S+)"), 0.01)
    high, t = fluid.column(z, T, 3014.65 * PSI, 500 * 0.3048)
    printed = report.split("to depth of 8000 ft")[1]
    compare("  500 ft above 3000 psig, psig", high / PSI - 14.65, number(printed, r"Pressure = (\S+) psig"), 0.02)
    compare("  C7+ there", t[fluid.names.index("C7+")], number(printed, r"C7\+ +(\S+)"), 2e-6)


def check_lump(report):
    """A lump has the a and b of its components' mixture at the temperature of lumping, to the five
    digits of the critical pressures."""
    cuts, lumped, T = Fluid(report, 1), Fluid(report, 2), kelvin(239)
    z = mole_fractions(report)
    for name, parts in (("F1", ("C7", "C8")), ("F2", ("C9", "C10")), ("F3", ("C12", "C15", "C20"))):
        places = [cuts.names.index(part) for part in parts]
        total = sum(z[i] for i in places)
        shares, a = [z[i] / total for i in places], cuts.a(T)
        mixed = sum(w * math.sqrt(a[i]) for w, i in zip(shares, places)) ** 2
        own = lumped.names.index(name)
        compare(f"lump {name}: a over a of the mixture", lumped.a(T)[own] / mixed, 1.0, 5e-5)
        compare(f"lump {name}: b over b of the mixture",
                lumped.b[own] / sum(w * cuts.b[i] for w, i in zip(shares, places)), 1.0, 5e-5)


def main():
    reports = {name: (REPORTS / f"{name}.out").read_text() for name in
               ("ternary-flash", "black-oil", "black-oil-study", "black-oil-use", "gas-condensate")}
    print(f"{'':58} {'by hand':>14} {'report':>14}")
    check_flash(reports["ternary-flash"])
    check_oil(reports["black-oil"], reports["black-oil-study"])
    check_use(reports["black-oil-use"])
    check_lump(reports["gas-condensate"])
    return 1 if FAILED else 0


sys.exit(main())
