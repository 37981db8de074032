// Entry of every test program: the library is started as the tool starts it.
#include "test_support.h"

#include <wx/init.h>

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk())
        return 2;
    InstallTestAssertHandler();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
