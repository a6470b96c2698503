// Process entry, nothing else.

#include "app/app.h"

int main() { return gf_main(); }
