#include <Viewer/Draw/GL/Programs.h>

namespace mirel {

namespace {

void Build(GLProgram& program, Programs::Kind kind) {
  switch (kind) {
  case Programs::kBodies:
    program.Build(
        {{GL_VERTEX_SHADER, Shaders::GetBodyVertex()}, {GL_FRAGMENT_SHADER, Shaders::GetBodyFragment()}});
    break;
  case Programs::kPoints:
    program.Build(
        {{GL_VERTEX_SHADER, Shaders::GetPointVertex()}, {GL_FRAGMENT_SHADER, Shaders::GetPointFragment()}});
    break;
  case Programs::kCuts:
    program.Build(
        {{GL_VERTEX_SHADER, Shaders::GetBodyVertex()}, {GL_FRAGMENT_SHADER, Shaders::GetCutFragment()}});
    break;
  case Programs::kCullCount:
    program.Build({{GL_COMPUTE_SHADER, Shaders::GetCullCount()}});
    break;
  case Programs::kCullSum:
    program.Build({{GL_COMPUTE_SHADER, Shaders::GetCullSum()}});
    break;
  case Programs::kCullList:
    program.Build({{GL_COMPUTE_SHADER, Shaders::GetCullList()}});
    break;
  case Programs::kCullCommands:
    program.Build({{GL_COMPUTE_SHADER, Shaders::GetCullCommands()}});
    break;
  case Programs::kShow:
    program.Build(
        {{GL_VERTEX_SHADER, Shaders::GetScreenVertex()}, {GL_FRAGMENT_SHADER, Shaders::GetShowFragment()}});
    break;
  case Programs::kKinds:
    break;
  }
}

}  // namespace

void Programs::Use(Kind kind) {
  if (!programs_[kind].IsBuilt()) Build(programs_[kind], kind);
  programs_[kind].Use();
}

void Programs::UseLight(const Shaders::Parts& parts) {
  GLProgram& program = lights_[parts];
  if (!program.IsBuilt())
    program.Build({{GL_VERTEX_SHADER, Shaders::GetAreaVertex()},
                   {GL_FRAGMENT_SHADER, Shaders::GetLightFragment(parts)}});
  program.Use();
}

void Programs::UsePick(const Shaders::Parts& parts) {
  GLProgram& program = picks_[parts];
  if (!program.IsBuilt()) program.Build({{GL_COMPUTE_SHADER, Shaders::GetPick(parts)}});
  program.Use();
}

void Programs::Release() {
  for (GLProgram& program : programs_)
    program.Release();
  for (auto& [parts, program] : lights_)
    program.Release();
  for (auto& [parts, program] : picks_)
    program.Release();
  Forget();
}

}  // namespace mirel
