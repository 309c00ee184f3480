#include <heapapi.h>
