// Other parts of Breakpad's client include this one for the same.
#include <Foundation/Foundation.h>
