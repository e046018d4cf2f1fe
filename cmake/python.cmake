# The Python the package is built for and run by, and where it is installed.
# Debian's packages (pybind11, numpy, pytest) are installed for the system's
# interpreter; a python3 of pyenv or of a virtual environment earlier on the
# PATH has none of them, so the system's is the default.
if(NOT Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
  set(Python3_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "The Python the package is built for")
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter Development.Module)

# Debian's own packages, the .deb among them, put Python packages in
# <prefix>/lib/python3/dist-packages, where the system's interpreter looks
# under /usr; under another prefix, PYTHONPATH names the folder.
set(LACEWRIGHT_PYTHON_DIR "lib/python3/dist-packages" CACHE STRING
    "Where the Python package is installed, under the prefix")
