#pragma once
// A test of one real field sample in one form: its bundle is built before the test, which is
// skipped, saying so, where the samples are not beside the checkout.
#include "fixtures/field_samples.h"

#include <gtest/gtest.h>

class SampleTest : public testing::TestWithParam<fixtures::SampleCase>
{
protected:
    void SetUp() override
    {
        if (!fixtures::SampleBundle(Sample(), Form(), bundle))
            GTEST_SKIP() << "field-samples/" << Sample().name << ".txt is not beside the checkout";
    }
    const fixtures::FieldSample& Sample() const { return GetParam().sample; }
    fixtures::SampleForm Form() const { return GetParam().form; }

    fixtures::Bundle bundle;
};

// The cases of the samples whose names start with `prefix`, each test named after its sample.
#define INSTANTIATE_SAMPLE_TESTS(test, prefix)                                                                          \
    INSTANTIATE_TEST_SUITE_P(Samples, test, testing::ValuesIn(fixtures::SampleCases(prefix)),                            \
                             [](const testing::TestParamInfo<fixtures::SampleCase>& info) { return fixtures::CaseName(info.param); })
