#include <Viewer/Draw/GL/GLRenderer.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/GL/MeshStore.h>
#include <Viewer/Draw/GL/PlacementStore.h>
#include <Viewer/Draw/GL/Programs.h>
#include <Viewer/Draw/GL/RenderTargets.h>
#include <Viewer/Draw/GL/SeenArea.h>
#include <Viewer/Draw/GL/ViewBlock.h>

#include <glm/geometric.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace mirel {

GLError::~GLError() = default;

namespace {

// The attribute of all that is drawn: which placement.
constexpr GLuint kPlacementAttribute = 3;

constexpr GLuint kShowCorner = 0, kPickTexel = 0, kAreaCorners = 0;

// The places in a pixel that are drawn one after the other, the middle first: what moves is drawn there.
std::vector<glm::vec2> MakeSamples(int wanted) {
  int side = 1;
  while (side * side < wanted && side < 8)
    ++side;
  std::vector<glm::vec2> samples;
  for (int i = 0; i < side * side; ++i)
    samples.push_back((glm::vec2(i % side, i / side) + 0.5f) / static_cast<float>(side));
  std::stable_sort(samples.begin(), samples.end(), [](const glm::vec2& a, const glm::vec2& b) {
    return glm::distance(a, glm::vec2(0.5f)) < glm::distance(b, glm::vec2(0.5f));
  });
  return samples;
}

// What a host has bound, to be found again.
class HostState {
 public:
  HostState() {
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &draw_);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &read_);
    glGetIntegerv(GL_VIEWPORT, viewport_.data());
  }
  ~HostState() {
    BindFramebuffers();
    glViewport(viewport_[0], viewport_[1], viewport_[2], viewport_[3]);
  }

  void BindFramebuffers() const {
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(draw_));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(read_));
  }
  int GetLeft() const { return viewport_[0]; }
  int GetBottom() const { return viewport_[1]; }

 private:
  GLint draw_ = 0, read_ = 0;
  std::array<GLint, 4> viewport_{};
};

// As OpenGL is at first.
void ResetState(bool isReversed) {
  for (const GLenum what : {GL_DEPTH_TEST, GL_BLEND, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_CULL_FACE,
                            GL_FRAMEBUFFER_SRGB, GL_POLYGON_OFFSET_FILL})
    glDisable(what);
  for (GLenum i = 0; i < kMaxSections; ++i)
    glDisable(GL_CLIP_DISTANCE0 + i);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glDepthMask(GL_TRUE);
  glDepthFunc(GL_LESS);
  glBlendFunc(GL_ONE, GL_ZERO);
  if (isReversed) glClipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
}

void Unbind() {
  glUseProgram(0);
  glBindVertexArray(0);
  glBindBuffer(GL_DRAW_INDIRECT_BUFFER, 0);
  glBindBuffer(GL_UNIFORM_BUFFER, 0);
  glBindBuffer(GL_SHADER_STORAGE_BUFFER, 0);
  for (GLuint unit = 0; unit < 5; ++unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(GL_TEXTURE_2D, 0);
  }
  glActiveTexture(GL_TEXTURE0);
}

void BindTexture(GLuint unit, GLuint name) {
  glActiveTexture(GL_TEXTURE0 + unit);
  glBindTexture(GL_TEXTURE_2D, name);
}

const void* At(std::size_t offset) {
  return reinterpret_cast<const void*>(offset);
}

}  // namespace

class GLRenderer::Implementation {
 public:
  void SetScene(std::shared_ptr<const DrawScene> scene) {
    std::vector<std::uint32_t> meshOfBatch =
        meshes_.Want(scene ? scene->GetBatches() : std::vector<DrawBatch>());
    placements_.SetScene(std::move(scene), std::move(meshOfBatch));
    knowsClosed_ = false;
    Change();
  }
  PlacementStore& Edit() {
    Change();
    return placements_;
  }
  const PlacementStore& GetPlacements() const { return placements_; }

  Progress Draw(const Camera& camera, const GLViewOptions& options) {
    Prepare();
    if (options.width < 1 || options.height < 1) return {IsUploaded(), true};
    const HostState host;
    ResetState(isReversed_);
    Upload(options);
    FindView(camera, options);
    glViewport(0, 0, options.width, options.height);
    const std::vector<glm::vec2> samples = MakeSamples(options.samples);
    const std::size_t wanted = drawn_ + static_cast<std::size_t>(std::max(0, options.samplesAtOnce));
    std::size_t behind = std::clamp<std::size_t>(wanted, 1, samples.size());
    if (!HasBodies()) drawn_ = behind = samples.size();  // the backdrop alone
    if (drawn_ == 0) Cull();
    while (drawn_ < behind) {
      FillSample(samples[drawn_], static_cast<int>(drawn_), options, view_);
      view_.size.w = static_cast<int>(drawn_);
      SendView();
      DrawSample();
      ++drawn_;
    }
    Show(host);
    Unbind();
    if (glGetError() == GL_OUT_OF_MEMORY) throw GLError("the graphics card has no memory left");
    return {IsUploaded(), drawn_ == samples.size()};
  }

  Seen Pick(int x, int y) {
    Seen result;
    if (!isPrepared_ || !HasBodies() || drawn_ == 0 || x < 0 || y < 0 || x >= view_.size.x ||
        y >= view_.size.y)
      return result;
    BindAll();
    programs_.UsePick(GetParts());
    BindTargets();
    answer_.Reserve(sizeof(Answer));
    answer_.BindStorage(7);
    glUniform2i(kPickTexel, x, view_.size.y - 1 - y);
    glDispatchCompute(1, 1, 1);
    glMemoryBarrier(GL_BUFFER_UPDATE_BARRIER_BIT);
    Answer answer;
    answer_.Read(0, &answer, sizeof answer);
    Unbind();
    if (answer.ids.x == FaceMap::kNothing) return result;
    result.entry = {answer.ids.x, answer.ids.y};
    result.point = eye_ + glm::dvec3(answer.point);
    return result;
  }

  void Release() {
    if (!isPrepared_) return;
    programs_.Release();
    meshes_.Release();
    placements_.Release();
    targets_.Release();
    viewBuffer_.Release();
    answer_.Release();
    glDeleteVertexArrays(static_cast<GLsizei>(arrays_.size()), arrays_.data());
    Forget();
  }

  void Forget() {
    programs_.Forget();
    meshes_.Forget();
    placements_.Forget();
    targets_.Forget();
    viewBuffer_.Forget();
    answer_.Forget();
    arrays_ = {};
    isPrepared_ = false;
    Change();
  }

 private:
  struct Answer {
    glm::uvec4 ids;
    glm::vec4 point;
  };
  enum Array { kOrdinary, kFine, kPoints, kScreen, kArrays };

  void Change() { drawn_ = 0; }
  bool IsUploaded() const { return meshes_.IsUploaded() && placements_.IsUploaded(); }

  void Prepare() {
    if (isPrepared_) return;
    const std::string obstacle = FindObstacle();
    if (!obstacle.empty()) throw GLError(obstacle);
    isPrepared_ = true;
    isReversed_ = epoxy_gl_version() >= 45 || epoxy_has_gl_extension("GL_ARB_clip_control");
    glGenVertexArrays(kArrays, arrays_.data());
    viewBuffer_.Reserve(sizeof(ViewBlock));
  }

  void Upload(const GLViewOptions& options) {
    if (!options.sections.empty() && !knowsClosed_) {
      meshes_.FindClosed();
      placements_.RenewBatches();
      knowsClosed_ = true;
    }
    const bool wasUploaded = IsUploaded();
    std::size_t budget =
        options.uploadBytes != 0 ? options.uploadBytes : std::numeric_limits<std::size_t>::max();
    std::vector<std::uint32_t> ready;
    meshes_.Upload(budget, ready);
    placements_.Upload(meshes_, budget);
    placements_.ShowMeshes(meshes_, ready);
    if (wasUploaded) return;
    Change();
    for (const Array array : {kOrdinary, kFine, kPoints}) {
      glBindVertexArray(arrays_[array]);
      if (array != kPoints) meshes_.BindVertices(array == kFine);
      glBindBuffer(GL_ARRAY_BUFFER, placements_.GetSeen().GetName());
      glEnableVertexAttribArray(kPlacementAttribute);
      glVertexAttribIPointer(kPlacementAttribute, 1, GL_UNSIGNED_INT, sizeof(std::uint32_t), nullptr);
      glVertexAttribDivisor(kPlacementAttribute, array == kPoints ? 0 : 1);
      glBindVertexArray(0);
      glBindBuffer(GL_ARRAY_BUFFER, 0);
    }
  }

  // Begins anew when another view than the last one is asked for.
  void FindView(const Camera& camera, const GLViewOptions& options) {
    ViewBlock block;
    std::memset(static_cast<void*>(&block), 0, sizeof block);
    const AABoxT<double> box = placements_.GetBox(options.offsetFactor);
    FillView(camera, options, box, placements_.GetAnchor(), isReversed_, block);
    area_ = FindSeenArea(camera, box, {options.width, options.height});
    block.modes.y = placements_.HasGhosts() ? 1 : 0;
    block.modes.z = placements_.HasColors() ? 1 : 0;
    block.modes.w = placements_.HasOffsets() && options.offsetFactor != 0.0f ? 1 : 0;
    block.counts = glm::ivec4(placements_.GetUploadedCount(), placements_.GetGroupCount(),
                              placements_.GetBatchCount(), placements_.GetFineBatchCount());
    block.extras.z = static_cast<int>(placements_.GetSelectedFaceCount());
    block.extras.w = static_cast<int>(placements_.GetHoveredFaceCount());
    if (std::memcmp(&block, &asked_, sizeof block) != 0 || samples_ != options.samples) drawn_ = 0;
    samples_ = options.samples;
    asked_ = block;
    if (drawn_ == 0) view_ = block;
    eye_ = camera.GetEye();
    if (HasBodies())
      targets_.Prepare(options.width, options.height, placements_.HasGhosts(), block.size.z > 0);
  }

  void SendView() {
    viewBuffer_.Write(0, &view_, sizeof view_);
    BindAll();
  }

  void BindAll() const {
    glBindBufferBase(GL_UNIFORM_BUFFER, 0, viewBuffer_.GetName());
    placements_.Bind();
  }

  Shaders::Parts GetParts() const {
    return {view_.modes.x != static_cast<int>(PictureOptions::Edges::kNone), view_.modes.y != 0,
            view_.size.z > 0, view_.extras.z + view_.extras.w > 0};
  }

  bool HasBodies() const { return placements_.GetUploadedCount() > 0; }

  // The card finds out itself what is in view, and writes the commands that draw it.
  void Cull() {
    SendView();
    placements_.BindForCulling();
    const GLuint groups = placements_.GetGroupCount();
    const auto run = [this](Programs::Kind program, GLuint count) {
      programs_.Use(program);
      glDispatchCompute(count, 1, 1);
      glMemoryBarrier(GL_SHADER_STORAGE_BARRIER_BIT);
    };
    run(Programs::kCullCount, groups);
    run(Programs::kCullSum, 1);
    run(Programs::kCullList, groups);
    run(Programs::kCullCommands, (placements_.GetBatchCount() + 63) / 64);
    glMemoryBarrier(GL_COMMAND_BARRIER_BIT | GL_VERTEX_ATTRIB_ARRAY_BARRIER_BIT);
  }

  void DrawSample() {
    DrawSolids();
    if (placements_.HasGhosts()) DrawGhosts();
    if (view_.size.z > 0) DrawCuts();
    DrawLight();
  }

  void BeginBodies(RenderTargets::Target target) {
    targets_.BindFor(target);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(isReversed_ ? GL_GREATER : GL_LESS);
    if (isReversed_) glClipControl(GL_LOWER_LEFT, GL_ZERO_TO_ONE);
    for (GLenum i = 0; i < static_cast<GLenum>(view_.size.z); ++i)
      glEnable(GL_CLIP_DISTANCE0 + i);
    constexpr GLuint kNothing[] = {FaceMap::kNothing, 0, 0, 0};
    const GLfloat farthest = isReversed_ ? 0.0f : 1.0f;
    if (target != RenderTargets::kCut) {
      glClearBufferuiv(GL_COLOR, 0, kNothing);
      glClearBufferfv(GL_DEPTH, 0, &farthest);
    }
    glBindBuffer(GL_DRAW_INDIRECT_BUFFER, placements_.GetCommands().GetName());
  }

  // All ordinary bodies with one call, and all fine ones, if there are any.
  void DrawCommands(bool ghosts) {
    const std::size_t all = placements_.GetBatchCount(), fine = placements_.GetFineBatchCount();
    const std::size_t first = ghosts ? all : 0;
    const auto draw = [](GLuint array, std::size_t start, std::size_t count) {
      if (count == 0) return;
      glBindVertexArray(array);
      glMultiDrawElementsIndirect(GL_TRIANGLES, GL_UNSIGNED_INT, At(start * PlacementStore::kCommandSize),
                                  static_cast<GLsizei>(count), 0);
    };
    draw(arrays_[kOrdinary], first, all - fine);
    draw(arrays_[kFine], first + all - fine, fine);
  }

  void DrawSolids() {
    BeginBodies(RenderTargets::kSolid);
    programs_.Use(Programs::kBodies);
    DrawCommands(false);
    programs_.Use(Programs::kPoints);
    glBindVertexArray(arrays_[kPoints]);
    glDrawArraysIndirect(GL_POINTS, At(placements_.GetPointCommand()));
    ResetState(isReversed_);
  }

  void DrawGhosts() {
    BeginBodies(RenderTargets::kGhost);
    programs_.Use(Programs::kBodies);
    DrawCommands(true);
    ResetState(isReversed_);
  }

  void DrawCuts() {
    BeginBodies(RenderTargets::kCut);
    glDisable(GL_DEPTH_TEST);
    for (GLenum i = 0; i < kMaxSections; ++i)
      glDisable(GL_CLIP_DISTANCE0 + i);
    constexpr GLfloat kZero[] = {0.0f, 0.0f, 0.0f, 0.0f};
    glClearBufferfv(GL_COLOR, 0, kZero);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    programs_.Use(Programs::kCuts);
    DrawCommands(false);
    ResetState(isReversed_);
  }

  void BindTargets() const {
    BindTexture(0, targets_.GetColor(RenderTargets::kSolid));
    BindTexture(1, targets_.GetDepth(RenderTargets::kSolid));
    BindTexture(2, targets_.GetColor(RenderTargets::kGhost));
    BindTexture(3, targets_.GetDepth(RenderTargets::kGhost));
    BindTexture(4, targets_.GetColor(RenderTargets::kCut));
  }

  void DrawLight() {
    targets_.BindFor(RenderTargets::kLight);
    constexpr GLfloat kZero[] = {0.0f, 0.0f, 0.0f, 0.0f};
    if (drawn_ == 0) glClearBufferfv(GL_COLOR, 0, kZero);
    if (area_.empty()) return;
    BindTargets();
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    programs_.UseLight(GetParts());
    glUniform2fv(kAreaCorners, static_cast<GLsizei>(area_.size()), &area_.front().x);
    glBindVertexArray(arrays_[kScreen]);
    glDrawArrays(GL_TRIANGLE_FAN, 0, static_cast<GLsizei>(area_.size()));
    ResetState(isReversed_);
  }

  void Show(const HostState& host) {
    SendView();
    host.BindFramebuffers();
    glViewport(host.GetLeft(), host.GetBottom(), view_.size.x, view_.size.y);
    BindTexture(0, targets_.GetColor(RenderTargets::kLight));
    programs_.Use(Programs::kShow);
    glUniform2i(kShowCorner, host.GetLeft(), host.GetBottom());
    if (view_.backdrop.w == static_cast<float>(PictureOptions::Background::kNone)) {
      glEnable(GL_BLEND);
      glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    }
    glBindVertexArray(arrays_[kScreen]);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    ResetState(isReversed_);
  }

  MeshStore meshes_;
  PlacementStore placements_;
  RenderTargets targets_;
  Programs programs_;
  GLBuffer viewBuffer_, answer_;
  std::array<GLuint, kArrays> arrays_{};
  bool isPrepared_ = false, isReversed_ = false, knowsClosed_ = false;

  ViewBlock asked_{}, view_{};  // what is asked for, and the same with the sample that was drawn last
  int samples_ = 0;
  std::size_t drawn_ = 0;  // samples
  glm::dvec3 eye_{0.0};
  std::vector<glm::vec2> area_;  // where there is something to be lit
};

GLRenderer::GLRenderer() : implementation_(std::make_unique<Implementation>()) {}

GLRenderer::~GLRenderer() = default;

std::string GLRenderer::FindObstacle() {
  const auto get = [](GLenum what) {
    const GLubyte* const text = glGetString(what);
    return text == nullptr ? std::string("nothing") : std::string(reinterpret_cast<const char*>(text));
  };
  const std::string found = "found: OpenGL " + get(GL_VERSION) + ", " + get(GL_RENDERER);
  if (!epoxy_is_desktop_gl()) return "OpenGL 4.3 is needed, not OpenGL ES; " + found;
  if (epoxy_gl_version() < 10 * kMajor + kMinor) return "OpenGL 4.3 is needed; " + found;
  for (const GLenum stage : {GL_MAX_VERTEX_SHADER_STORAGE_BLOCKS, GL_MAX_FRAGMENT_SHADER_STORAGE_BLOCKS}) {
    GLint blocks = 0;
    glGetIntegerv(stage, &blocks);
    if (blocks < 6) return "OpenGL with storage buffers in all shaders is needed; " + found;
  }
  return {};
}

void GLRenderer::SetScene(std::shared_ptr<const DrawScene> scene) {
  implementation_->SetScene(std::move(scene));
}

const std::shared_ptr<const DrawScene>& GLRenderer::GetScene() const {
  return implementation_->GetPlacements().GetScene();
}

void GLRenderer::SetLook(const std::vector<std::uint32_t>& placements, NodeVisibility::Look look) {
  implementation_->Edit().SetLook(placements, look);
}

void GLRenderer::ResetLooks() {
  implementation_->Edit().ResetLooks();
}

void GLRenderer::SetColor(const std::vector<std::uint32_t>& placements,
                          const std::optional<glm::vec3>& color) {
  implementation_->Edit().SetColor(placements, color);
}

void GLRenderer::SetSelection(const Selection& selection) {
  implementation_->Edit().SetSelection(selection);
}

void GLRenderer::SetHover(const Selection& hover) {
  implementation_->Edit().SetHover(hover);
}

void GLRenderer::SetOffsets(std::vector<glm::vec3> offsets) {
  implementation_->Edit().SetOffsets(std::move(offsets));
}

GLRenderer::Progress GLRenderer::Draw(const Camera& camera, const GLViewOptions& options) {
  try {
    return implementation_->Draw(camera, options);
  } catch (const GLError&) {
    implementation_->Release();
    throw;
  }
}

GLRenderer::Seen GLRenderer::Pick(int x, int y) {
  return implementation_->Pick(x, y);
}

void GLRenderer::Release() {
  implementation_->Release();
}

void GLRenderer::Forget() {
  implementation_->Forget();
}

}  // namespace mirel
