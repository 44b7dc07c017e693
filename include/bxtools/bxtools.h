// Everything that the library offers to C++. The plain C interface, which C++ may use too, comes with it.
#pragma once

#include <bxtools/baseobject.h>
#include <bxtools/btree.h>
#include <bxtools/buffers.h>
#include <bxtools/bytearray.h>
#include <bxtools/cerror.h>
#include <bxtools/channel.h>
#include <bxtools/config.h>
#include <bxtools/debug.h>
#include <bxtools/errclient.h>
#include <bxtools/errobject.h>
#include <bxtools/error.h>
#include <bxtools/file.h>
#include <bxtools/lifecycle.h>
#include <bxtools/lists.h>
#include <bxtools/mstring.h>
#include <bxtools/nls.h>
#include <bxtools/nlsserver.h>
#include <bxtools/nlswindow.h>
#include <bxtools/path.h>
#include <bxtools/process.h>
#include <bxtools/registry.h>
#include <bxtools/sync.h>
#include <bxtools/thread.h>
#include <bxtools/window_system.h>
