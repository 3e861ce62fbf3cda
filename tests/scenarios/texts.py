#!/usr/bin/env python3
"""texts.py: every text that the module can show to a user is seen in a transcript of a scenario, and
so can be reached by anybody who opens that scenario in the preview. What cannot be is listed here with
the reason; a row that has become wrong is an error, too.
"""
import os
import re
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tree"))
import tree  # noqa: E402
from product_texts import pattern_of, product_texts  # noqa: E402

LOG = "is only logged"
NAME = "is no text for a user but a name"
NO_REASON = "stands in for the reason of a failure that gave none, and each gives one"
UNSEEN = {
    "already closed": LOG,
    "the card service refused to disarm": LOG,
    "the card service could not report its state": LOG,
    "the accounts on this key could not be checked": LOG,
    "the card service gave an invalid answer while checking this key's accounts — try again": LOG,
    "the accounts on this key were only partly checked": LOG,
    "the card service gave an incomplete answer while checking this key's accounts — try again": LOG,
    "no sign-in server is configured": LOG,
    "no credentials to check": LOG,
    "DsGetDcName failed (": LOG,
    "TranslateName could not map the tile name to a UPN": LOG,
    "no reason given": LOG,
    "(no name)": LOG,
    " (newly set up)": LOG,
    "the service loaded": LOG,
    "NT AUTHORITY": NAME,
    "Microsoft Base Smart Card Crypto Provider": NAME,
    "Kelvor Virtual Smart Card Reader": NAME,
    "the security key did not finish the sign-in": NO_REASON,
    "Security-key sign-in failed; tap the key and try again.": NO_REASON,
    "try again; if it keeps happening, contact IT.": NO_REASON,
    "could not reach the card service": "needs a pipe that Windows refuses to open",
    "could not send the request to the card service": "needs a pipe that breaks while it is written",
    "the sign-in attempt expired — tap your security key again": "needs a tap that is sent twice",
    "the security key did not identify an account for this PC": "needs an armed card without account",
    "this PC is low on memory — restart it and try again": "needs a PC without memory",
    "Sign-in failed: this PC is low on memory — restart it and try again":
        "needs a PC without memory",
    "This account type is not supported by security-key domain sign-in. It works for Active Directory "
    "domain accounts; local Windows accounts use their own security-key tile, and Microsoft / Entra ID "
    "(Azure AD) accounts are not supported.": "such an account gets no tile to begin with",
}


seen = "\n".join(tree.read(path) for path in tree.files(r"^docs/transcripts/.*\.txt$"))
texts = {text: f"{path}:{line}" for path, line, level, text in product_texts()
         if not level and re.search(r"\w \w|…", text)}
problems = []
for text, place in sorted(texts.items(), key=lambda item: item[1]):
    if bool(pattern_of(text).search(seen)) == (text in UNSEEN):
        problems.append(f"{place}: {text!r}" + (" is seen after all" if text in UNSEEN else ""))
problems += [f"no such text any more: {text!r}" for text in UNSEEN if text not in texts]
tree.finish(problems, "No transcript shows these texts: a scenario that does, or a row in texts.py.")
