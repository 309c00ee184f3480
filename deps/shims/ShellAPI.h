#include <shellapi.h>
