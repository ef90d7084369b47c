#pragma once

#include <SDL.h>

#include <string>

namespace Harbor {

// A window with Dear ImGui in it, on SDL2 and OpenGL. For the thread that made it.
class Window {
 public:
  // Throws std::runtime_error with what SDL says.
  explicit Window(const std::string& title);
  ~Window();

  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  // Whether the user has not closed it yet.
  bool IsOpen() const { return isOpen; }

  // Shows what was drawn in between. EndFrame does not wait for the screen: the frame has its own
  // pace.
  void BeginFrame();
  void EndFrame();

  // The next EndFrame also writes the frame to a PNG file, or throws std::runtime_error if it
  // cannot.
  void TakePicture(const std::string& file) { picture = file; }

 private:
  void WritePicture();

  std::string picture;  // empty where none is wanted
  SDL_Window* window = nullptr;
  SDL_GLContext context = nullptr;
  bool isOpen = true;
};

}  // namespace Harbor
