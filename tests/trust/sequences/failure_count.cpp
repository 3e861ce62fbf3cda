#include "failure_count.h"

#include <doctest.h>

namespace kelvor::trust {
namespace {

std::size_t failures = 0;

// Hears of every assertion that fails.
struct FailureListener : doctest::IReporter {
    explicit FailureListener(const doctest::ContextOptions&) {}

    void report_query(const doctest::QueryData&) override {}
    void test_run_start() override {}
    void test_run_end(const doctest::TestRunStats&) override {}
    void test_case_start(const doctest::TestCaseData&) override {}
    void test_case_reenter(const doctest::TestCaseData&) override {}
    void test_case_end(const doctest::CurrentTestCaseStats&) override {}
    void test_case_exception(const doctest::TestCaseException&) override { ++failures; }
    void subcase_start(const doctest::SubcaseSignature&) override {}
    void subcase_end() override {}
    void log_assert(const doctest::AssertData& assertion) override
    {
        failures += assertion.m_failed ? 1 : 0;
    }
    void log_message(const doctest::MessageData&) override {}
    void test_case_skipped(const doctest::TestCaseData&) override {}
};

DOCTEST_REGISTER_LISTENER("failures", 1, FailureListener);

}  // namespace

std::size_t FailureCount() noexcept
{
    return failures;
}

}  // namespace kelvor::trust
