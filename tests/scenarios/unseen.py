"""Texts of the module that no user sees in a transcript, each with the reason."""

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
    "this PC is low on memory": LOG,
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
