#pragma once

#include <string>

#include <doctest.h>

#include "support/raw_block.h"
#include "support/stage.h"

namespace kelvor::test {

// Signs in and takes the logon buffer as LogonUI does.
inline RawBlock CollectLogon(Stage& stage)
{
    stage.SignIn();
    const Answer answer = stage.Collect();
    REQUIRE(answer.response == CPGSR_RETURN_CREDENTIAL_FINISHED);
    return RawBlock(answer.buffer);
}

}  // namespace kelvor::test
