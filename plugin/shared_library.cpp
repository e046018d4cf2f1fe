// The shared library is assembled from the internal libraries; its exports
// are declared here so that the build checks them against their definitions.
#include "plugin/lacewright.h"
