#include "platform/sandbox/LibraryWarmUp.h"

#include <glib.h>

void WarmUpLibrariesForConfinement() {
    g_random_int();
}
