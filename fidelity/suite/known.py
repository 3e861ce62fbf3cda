"""Failures that are understood, by the folder of the programs: why they are, and why they are let be."""

WITHOUT_MEMORY = ("without any memory a thread of that compiler's runtime ends in a stack overflow at its first "
                  "exception; that of the compiler whose module is shipped does not")
KNOWN = {
    "ucrt64": {
        "A sign-in that gets no memory at all is refused and says so": WITHOUT_MEMORY,
        "Whichever call fails, the logon is whole or the refusal is true, and nothing is left":
            WITHOUT_MEMORY,
    },
}


def reason(folder, test):
    return KNOWN.get(folder, {}).get(test)
