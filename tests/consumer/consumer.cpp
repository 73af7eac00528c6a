// The public headers used from C++: the same program as consumer.c.
#include "consumer.c"
