#include "window.h"

#include <SDL_opengl.h>

#include <backends/imgui_impl_opengl3.h>
#include <imgui.h>
#include <stb/stb_image_write.h>

#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>
#if __has_include(<backends/imgui_impl_sdl2.h>)
#include <backends/imgui_impl_sdl2.h>
#else
#include <backends/imgui_impl_sdl.h>
#endif

namespace Harbor {
namespace {

constexpr int Width = 1440;
constexpr int Height = 900;
constexpr int BytesPerPixel = 3;

void Require(bool isRight) {
  if (!isRight) throw std::runtime_error(std::string("the window: ") + SDL_GetError());
}

}  // namespace

Window::Window(const std::string& title) {
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");  // the host has its own
  Require(SDL_Init(SDL_INIT_VIDEO) == 0);
  window = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, Width,
                            Height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
  Require(window != nullptr);
  context = SDL_GL_CreateContext(window);
  Require(context != nullptr);
  SDL_GL_SetSwapInterval(0);
  ImGui::CreateContext();
  ImGui::GetIO().IniFilename = nullptr;  // leaves no file behind
  ImGui_ImplSDL2_InitForOpenGL(window, context);
  ImGui_ImplOpenGL3_Init();
}

Window::~Window() {
  ImGui_ImplOpenGL3_Shutdown();
  ImGui_ImplSDL2_Shutdown();
  ImGui::DestroyContext();
  SDL_GL_DeleteContext(context);
  SDL_DestroyWindow(window);
  SDL_Quit();
}

void Window::BeginFrame() {
  SDL_Event event;
  while (SDL_PollEvent(&event) != 0) {
    ImGui_ImplSDL2_ProcessEvent(&event);
    if (event.type == SDL_QUIT) isOpen = false;
  }
  ImGui_ImplOpenGL3_NewFrame();
  ImGui_ImplSDL2_NewFrame();
  ImGui::NewFrame();
}

void Window::EndFrame() {
  ImGui::Render();
  const ImVec2 size = ImGui::GetIO().DisplaySize;
  glViewport(0, 0, static_cast<int>(size.x), static_cast<int>(size.y));
  glClear(GL_COLOR_BUFFER_BIT);
  ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
  if (!picture.empty()) WritePicture();
  SDL_GL_SwapWindow(window);
}

void Window::WritePicture() {
  const std::string file = std::exchange(picture, {});
  int width = 0;
  int height = 0;
  SDL_GL_GetDrawableSize(window, &width, &height);
  const auto bytes =
      static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * BytesPerPixel;
  std::vector<unsigned char> pixels(bytes);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width, height, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
  stbi_flip_vertically_on_write(1);
  if (stbi_write_png(file.c_str(), width, height, BytesPerPixel, pixels.data(),
                     width * BytesPerPixel) == 0) {
    throw std::runtime_error("the picture cannot be written to " + file);
  }
}

}  // namespace Harbor
