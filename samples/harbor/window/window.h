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

  // EndFrame shows what was drawn since BeginFrame. It does not wait for the screen's refresh.
  void BeginFrame();
  void EndFrame();

  // EndFrame also writes the next frame to a PNG file. Throws std::runtime_error if it cannot.
  void TakePicture(const std::string& file) { picture = file; }

 private:
  void WritePicture();

  std::string picture;  // empty where none is wanted
  SDL_Window* window = nullptr;
  SDL_GLContext context = nullptr;
  bool isOpen = true;
};

}  // namespace Harbor
