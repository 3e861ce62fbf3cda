"""The PC and the domain that one scenario is played in, all below build/kdc."""
import os
import shutil
import subprocess

import realm
from authority import Authority, cards_of
from scenario import TREE

BUILD = os.path.join(TREE, "build", "kdc")
BIN = os.path.join(TREE, "build", "mingw", "bin")
HOST = os.path.join(BIN, "KelvorSimLogonUi.exe")
ENROLMENT = os.path.join(BIN, "KelvorSimEnrol.exe")
MODULE = os.path.join(BIN, "KelvorFidoAdLogonCredentialProvider.dll")
UNDER_WINE = [os.path.join(TREE, "scripts", "under_wine"), "--in", "demo"]
DESK = os.path.join(BUILD, "programs", "ticket_desk")
TOKEN = os.path.join(BUILD, "programs", "card_token.so")


def windows_path(path):
    return "Z:" + path.replace("/", "\\")


def fresh_folder(name):
    path = os.path.join(BUILD, name)
    shutil.rmtree(path, ignore_errors=True)
    os.makedirs(path, mode=0o700)
    return path


def domain_authority():
    """Made once, with the domain controller's certificate."""
    folder = os.path.join(BUILD, "domain")
    authority = Authority(folder)
    if not os.path.exists(authority.kdc[0]):
        authority = Authority.of_domain(fresh_folder("domain"))
        authority.certify_kdc(realm.NAME)
    return authority


class Setting:
    """In its `with` statement the domain runs, and the ticket desk; the key and the cards of the
    scenario are enrolled."""

    def __init__(self, scenario):
        self.scenario = scenario
        self.programs = realm.Programs(os.path.join(BUILD, "packages"))
        self.realm = None
        self.desk = None
        self.port = 0

    def __enter__(self):
        self.state = fresh_folder("state")
        self.logs = fresh_folder("logs")
        try:
            self.enrol()
            self.found_realm()
            self.open_desk()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.realm:
            said = self.realm.stop()
            with open(os.path.join(self.logs, "krb5kdc.log"), "w", encoding="utf-8") as file:
                file.write(said)
        if self.desk:
            self.desk.terminate()
            self.desk.communicate()

    def options(self):
        """For the sign-in screen."""
        return ["--state", windows_path(self.state), "--enrolled", "--kdc", str(self.port)]

    def enrol(self):
        world = os.path.join(self.state, "enrolled.ini")
        with open(world, "w", encoding="utf-8") as file:
            file.write(self.scenario.world)
        run = subprocess.run(
            UNDER_WINE + [ENROLMENT, "--world", windows_path(world), "--state",
                          windows_path(self.state)],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if not os.path.exists(os.path.join(self.state, "cards.json")):
            raise RuntimeError(f"the enrolment failed:\n{run.stdout.decode()}")

    def found_realm(self):
        play = self.scenario.play
        domain = domain_authority()
        cards = Authority.of_enrolment(self.state, fresh_folder("cards"))
        self.realm = realm.Realm(os.path.join(BUILD, "realm"), self.programs,
                                 self.scenario.people())
        if play.disabled:
            self.realm.disable(play.disabled)
        both = [domain.certificate, cards.certificate]
        self.realm.configure(
            domain.kdc if play.certified else None,
            both if play.domain_trusts_cards else [domain.certificate],
            both if play.pc_trusts_domain else [cards.certificate],
            cards.revocation_list(cards_of(self.state)) if self.scenario.revokes() else None,
            play.needs_revocation_list, play.usage)
        if play.runs:
            self.realm.start(play.clock)

    def open_desk(self):
        environment = {**self.realm.environment_of_pc(),
                       **self.programs.clock(self.scenario.play.pc_clock)}
        with open(os.path.join(self.logs, "ticket_desk.log"), "w", encoding="utf-8") as log:
            self.desk = subprocess.Popen([DESK, TOKEN], env=environment, stdin=subprocess.DEVNULL,
                                         stdout=subprocess.PIPE, stderr=log, text=True)
        self.port = int(self.desk.stdout.readline())
