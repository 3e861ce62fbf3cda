"""What is special about the domain in each scenario that is played with it."""
import dataclasses
import glob
import os
import re

TREE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
OWN = os.path.join(TREE, "fidelity", "kdc", "scenarios")
ORDINARY = os.path.join(TREE, "simulator", "scenarios")


@dataclasses.dataclass(frozen=True)
class Play:
    """A domain like any other, but for what differs from these."""
    runs: bool = True
    certified: bool = True           # the domain controller has a certificate
    pc_trusts_domain: bool = True
    domain_trusts_cards: bool = True
    usage: str = "scLogin"           # what a card's certificate must be meant for
    needs_revocation_list: bool = False
    clock: str = ""                  # of the domain, against the true one
    pc_clock: str = ""               # of the PC's Kerberos
    without: str = ""                # an account that it does not have
    disabled: str = ""               # one that may not sign in


PLAYS = {
    "unknown-account": Play(without="alice@corp.example"),
    "account-disabled": Play(disabled="alice@corp.example"),
    "revocation-unknown": Play(needs_revocation_list=True),
    "expired-for-the-domain": Play(clock="+400d"),
    "not-yet-valid-for-the-domain": Play(pc_clock="+45d"),
    "authority-untrusted": Play(domain_trusts_cards=False),
    "other-usage": Play(usage="kpClientAuth"),
    "kdc-untrusted": Play(pc_trusts_domain=False),
    "kdc-without-certificate": Play(certified=False),
    "kdc-down": Play(runs=False),
    "clock-skew": Play(clock="+20m"),
}


class Scenario:
    """A scenario's file, and what the domain has to be in it."""

    def __init__(self, name):
        self.name = name
        self.path = os.path.join(OWN, name + ".scenario")
        self.is_own = os.path.exists(self.path)
        if not self.is_own:
            self.path = os.path.join(ORDINARY, name + ".scenario")
        with open(self.path, encoding="utf-8") as file:
            self.text = file.read()
        self.sentence = self.text.split("\n", 1)[0].removeprefix("# ")
        self.world = self.text.split("\n[steps]", 1)[0] + "\n"
        self.transcript = os.path.join(TREE, "docs", "kdc" if self.is_own else "transcripts",
                                       name + ".txt")
        play = PLAYS.get(name, Play())
        if set(self.values("directory", "answers")) & {"unreachable", "never"}:
            play = dataclasses.replace(play, runs=False)
        self.play = play

    def values(self, section, name):
        """What the world's file says of a name, in each section of that kind."""
        sections = re.findall(rf"^\[{section}\]\n(.*?)(?=^\[|\Z)", self.world, re.M | re.S)
        return [value.strip() for part in sections
                for value in re.findall(rf"^{name} *=(.*)$", part, re.M)]

    def revokes(self):
        return self.values("card", "revoked") == ["yes"]

    def people(self):
        """The accounts of the domain: those of the key, those at the screen, and bob."""
        suffix = (self.values("directory", "upn_suffix") or ["corp.example"])[0]
        names = {"alice@corp.example", "bob@corp.example", *self.values("credential", "upn")}
        names |= {f"{name.split(chr(92))[1]}@{suffix}" for name in self.values("user", "name")
                  if chr(92) in name}
        return sorted(names - {self.play.without})

    def asks_domain(self):
        """Whether LSA is asked in it, and the answer is not the scenario's own."""
        with open(self.transcript, encoding="utf-8") as file:
            asks = re.search("^LSA ", file.read(), re.M)
        return bool(asks) and not re.search(r"^(\[lsa\]|LSA answers)", self.text, re.M)


def names_below(folder):
    return sorted(os.path.basename(path).removesuffix(".scenario")
                  for path in glob.glob(os.path.join(folder, "*.scenario")))


def own():
    return [Scenario(name) for name in names_below(OWN)]


def ordinary():
    return [scenario for scenario in map(Scenario, names_below(ORDINARY))
            if scenario.asks_domain()]
