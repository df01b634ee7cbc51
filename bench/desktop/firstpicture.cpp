// SPDX-License-Identifier: MIT
// Starts a program and prints the milliseconds until its first window shows something, then ends the program.
// Every program is looked at in the same way: from outside, through the X server.

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <thread>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto limit = 20s;
constexpr auto look = 200us; // between two looks at the window
constexpr uint16_t smallestWidth = 16;
constexpr uint16_t smallestHeight = 8;

struct Free
{
    void operator()(void *block) const { std::free(block); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

int fail(const char *what)
{
    std::fprintf(stderr, "firstpicture: %s\n", what);
    return 1;
}

/// The next window that is mapped on the root; nothing when none is within the limit.
std::optional<xcb_window_t> mappedWindow(xcb_connection_t *connection, Clock::time_point end)
{
    while (Clock::now() < end) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY)
                return reinterpret_cast<const xcb_map_notify_event_t *>(event.get())->window;
        }
        pollfd descriptor{xcb_get_file_descriptor(connection), POLLIN, 0};
        poll(&descriptor, 1, 100);
    }
    return std::nullopt;
}

/// Whether the window shows more than one colour.
bool showsSomething(xcb_connection_t *connection, xcb_window_t window)
{
    const Reply<xcb_get_geometry_reply_t> shape{
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr)};
    if (!shape || shape->width < smallestWidth || shape->height < smallestHeight)
        return false;
    const auto cookie = xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, shape->width,
                                      shape->height, ~uint32_t{0});
    const Reply<xcb_get_image_reply_t> image{xcb_get_image_reply(connection, cookie, nullptr)};
    if (!image)
        return false;
    const std::span pixels(reinterpret_cast<const uint32_t *>(xcb_get_image_data(image.get())),
                           static_cast<std::size_t>(xcb_get_image_data_length(image.get())) / 4);
    constexpr uint32_t colour = 0xffffff;
    return std::any_of(pixels.begin(), pixels.end(),
                       [&](uint32_t pixel) { return (pixel & colour) != (pixels[0] & colour); });
}

bool waitForPicture(xcb_connection_t *connection, Clock::time_point end)
{
    const auto window = mappedWindow(connection, end);
    while (window && Clock::now() < end) {
        if (showsSomething(connection, *window))
            return true;
        std::this_thread::sleep_for(look);
    }
    return false;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return fail("which program?");
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), xcb_disconnect);
    if (xcb_connection_has_error(connection.get()))
        return fail("no display");
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection.get(), root, XCB_CW_EVENT_MASK, &mask);
    // Answered, the server has done everything before.
    const Reply<xcb_get_input_focus_reply_t> done{
        xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr)};

    const auto started = Clock::now();
    pid_t program = 0;
    if (posix_spawn(&program, argv[1], nullptr, nullptr, argv + 1, environ) != 0)
        return fail("the program does not start");
    const bool shown = waitForPicture(connection.get(), started + limit);
    const std::chrono::duration<double, std::milli> waited = Clock::now() - started;
    kill(program, SIGTERM);
    waitpid(program, nullptr, 0);
    if (!shown)
        return fail("no picture");
    std::printf("%.3f\n", waited.count());
    return 0;
}
