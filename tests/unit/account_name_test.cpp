#include "sclogon/account_name.h"

#include <doctest.h>

using namespace kelvor;

namespace {

bool Names(const LogonAccount& account, const wchar_t* domain, const wchar_t* user)
{
    return account.domain == domain && account.user == user;
}

}  // namespace

TEST_CASE("The certificate's UPN names user and domain in place of the tile")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"alice@corp.example", L"x@other.example"),
                L"corp.example", L"alice"));
}

TEST_CASE("Without a certificate's UPN the key's account names them")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"", L"al@corp.example"), L"corp.example",
                L"al"));
}

TEST_CASE("Without any UPN the tile's names stay")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"", L""), L"CORP", L"alice"));
}

TEST_CASE("A name is split at its first at-sign")
{
    CHECK(Names(ChooseLogonAccount({}, L"a@b@c", L""), L"b@c", L"a"));
}

TEST_CASE("A name that ends in an at-sign does not replace the tile's")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"bob@", L""), L"CORP", L"alice"));
}

TEST_CASE("A name that ends in an at-sign is whole the user of a tile without one")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L""}, L"bob@", L""), L"CORP", L"bob@"));
}

TEST_CASE("A name without an at-sign is the user of a tile without one")
{
    CHECK(Names(ChooseLogonAccount({}, L"", L"alice"), L"", L"alice"));
}

TEST_CASE("A name without an at-sign does not replace the tile's")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"bob", L"carol"), L"CORP", L"alice"));
}

TEST_CASE("A name that begins with an at-sign leaves no user")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L"alice"}, L"@corp.example", L""), L"corp.example",
                L""));
}

TEST_CASE("Nobody is named when neither card nor key nor tile names anybody")
{
    CHECK(Names(ChooseLogonAccount({L"CORP", L""}, L"", L""), L"CORP", L""));
}
