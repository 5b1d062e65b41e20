#pragma once

#include <QtGlobal>

class QObject;

/// Runs the cases of @p testObject in a widget application with a fixed style.
int runTest(int argc, char **argv, QObject *testObject);

/// From now on drops the warnings of the platform without windows about what it cannot do. To be
/// called from a running test.
void dropWindowlessWarnings();

/// Seed of a randomised case, printed; the environment variable QUOREL2_SEED repeats an earlier
/// run.
quint32 testSeed();

#define QUOREL2_TEST_MAIN(TestClass)                                                               \
    int main(int argc, char **argv)                                                                \
    {                                                                                              \
        TestClass testObject;                                                                      \
        return runTest(argc, argv, &testObject);                                                   \
    }
