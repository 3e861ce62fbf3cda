// What ends the process, which is LogonUI, where an exception can go no further. GCC's own runtime
// writes the exception's name to a console that nobody sees, and brings a demangler for it, a tenth
// of this module's size.
#include <cstdlib>

#ifdef __GLIBCXX__
namespace __gnu_cxx {

// NOLINTNEXTLINE(readability-identifier-naming): the runtime's name.
void __verbose_terminate_handler()
{
    std::abort();
}

}  // namespace __gnu_cxx

#endif
