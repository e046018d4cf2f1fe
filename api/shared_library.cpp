// The C++ interface's shared library is assembled from the internal
// libraries; its header is included here so that the build checks that it
// stands on its own.
#include <lacewright/align.h>
