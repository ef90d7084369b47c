// Names that the headers of Windows, X11, Unix, macOS and Qt define as macros. A public header that
// uses one of them does not compile behind this file. Built by check_headers alone.
#include <algorithm>
#include <array>
#include <atomic>
#include <cassert>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#if __has_include(<fmt/core.h>)  // which does not compile behind them
#include <fmt/core.h>
#endif

#define min(left, right) %
#define max(left, right) %
#define small %
#define hyper %
#define near %
#define far %
#define interface %
#define Yield() %
#define ERROR %
#define NO_ERROR %
#define DELETE %
#define IN %
#define OUT %
#define CONST %
#define TRUE %
#define FALSE %
#define OPTIONAL %
#define STRICT %
#define OVERFLOW %
#define DOMAIN %
#define GetObject %
#define GetMessage %
#define SendMessage %
#define PostMessage %
#define CreateFile %
#define DeleteFile %
#define CopyFile %
#define MoveFile %
#define CreateFont %
#define DrawText %
#define LoadString %
#define PlaySound %
#define GetCurrentTime %
#define None %
#define Bool %
#define Status %
#define Success %
#define Always %
#define Never %
#define True %
#define False %
#define Above %
#define Below %
#define Complex %
#define Expose %
#define Unsorted %
#define CurrentTime %
#define DEBUG %
#define BIG_ENDIAN %
#define check(condition) %
#define verify(condition) %
#define require(condition, label) %
#define nil %
#define major(device) %
#define minor(device) %
#define unix %
#define linux %
#define signals %
#define slots %
#define emit %
#define foreach %
#define I %
