#include <Programs/mirel-viewer/Picture/PictureDialog.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/View/ModelView.h>

#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Explosion.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/Selection.h>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEventLoop>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QThreadPool>
#include <QVBoxLayout>

#include <exception>

namespace mirel {

namespace {

QSpinBox* MakeNumber(QWidget* parent, const QString& name, int low, int high, int value) {
  auto* const number = new QSpinBox(parent);
  number->setRange(low, high);
  number->setValue(value);
  number->setAccessibleName(name);
  return number;
}

}  // namespace

PictureDialog::PictureDialog(Document& document, const ModelView& view, QWidget* parent)
    : QDialog(parent), document_(document), view_(view) {
  setWindowTitle(tr("Picture"));
  const double ratio = view.devicePixelRatioF();
  width_ = MakeNumber(this, tr("Width"), 1, Picture::kMaxSide, static_cast<int>(view.width() * ratio));
  width_->setObjectName("Width");
  height_ = MakeNumber(this, tr("Height"), 1, Picture::kMaxSide, static_cast<int>(view.height() * ratio));
  height_->setObjectName("Height");
  samples_ = MakeNumber(this, tr("Samples"), 1, 64, PictureOptions().samples);
  edges_ = new QComboBox(this);
  edges_->addItems({tr("none"), tr("sharp"), tr("all")});
  edges_->setCurrentIndex(static_cast<int>(document.GetDisplay().edges));
  background_ = new QComboBox(this);
  background_->addItems({tr("backdrop"), tr("white"), tr("transparent")});
  occlusion_ = new QCheckBox(tr("darker where things are close"), this);
  occlusion_->setChecked(true);
  error_ = new QLabel(this);
  error_->setWordWrap(true);
  error_->setObjectName("Error");
  error_->hide();

  auto* const form = new QFormLayout;
  form->addRow(tr("&Width"), width_);
  form->addRow(tr("&Height"), height_);
  form->addRow(tr("&Edges"), edges_);
  form->addRow(tr("&Background"), background_);
  form->addRow(tr("&Samples a pixel"), samples_);
  form->addRow(tr("Corners"), occlusion_);
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
  QPushButton* const copy = buttons->addButton(tr("&Copy"), QDialogButtonBox::ActionRole);
  auto* const layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(error_);
  layout->addWidget(buttons);
  connect(buttons->button(QDialogButtonBox::Save), &QPushButton::clicked, this, &PictureDialog::Save);
  connect(copy, &QPushButton::clicked, this, &PictureDialog::Copy);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PictureDialog::~PictureDialog() = default;

PictureOptions PictureDialog::GetOptions() const {
  PictureOptions options;
  options.width = width_->value();
  options.height = height_->value();
  options.samples = samples_->value();
  options.edges = static_cast<PictureOptions::Edges>(edges_->currentIndex());
  options.ambientOcclusion = occlusion_->isChecked();
  options.background = static_cast<PictureOptions::Background>(background_->currentIndex());
  options.sections = document_.GetState().sections;
  return options;
}

Picture PictureDialog::Draw() {
  document_.WaitForSnapshot();
  QApplication::setOverrideCursor(Qt::WaitCursor);
  QCoreApplication::processEvents(
      QEventLoop::ExcludeUserInputEvents);  // takes the snapshot that was waited for
  Picture picture;
  Selection selection;
  for (const std::uint32_t placement : document_.GetSnapshot().FindPlacements(document_.GetSelection())) {
    selection.Add(placement);
  }
  QEventLoop loop;
  QThreadPool thread;
  thread.start([&, caster = document_.GetSnapshot().caster, camera = view_.GetCamera(),
                options = GetOptions(), explosion = document_.GetState().explosion]() mutable {
    try {
      options.selection = &selection;
      if (caster && explosion > 0.0) {
        const DrawScene& scene = caster->GetScene();
        caster = std::make_shared<const RayCaster>(scene.Move(Explosion(scene).GetOffsets(), explosion));
      }
      picture = caster ? PictureRenderer(caster).Draw(camera, options) : Picture();
    } catch (const std::exception&) {
      picture = Picture();
    }
    QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
  });
  loop.exec(QEventLoop::ExcludeUserInputEvents);
  QApplication::restoreOverrideCursor();
  error_->setVisible(picture.pixels.empty());
  error_->setText(tr("No picture of this size can be drawn: at most %1 million pixels.")
                      .arg(Picture::kMaxPixels / 1000000));
  return picture;
}

void PictureDialog::Save() {
  const QString path =
      QFileDialog::getSaveFileName(this, tr("Save the picture"), "picture.png", tr("PNG (*.png)"));
  if (path.isEmpty()) {
    return;
  }
  const Picture picture = Draw();
  std::string reason;
  if (picture.pixels.empty()) {
    return;
  }
  if (!picture.Save(path.toStdString(), reason)) {
    error_->setText(path + ": " + QString::fromStdString(reason));
    error_->show();
    return;
  }
  accept();
}

void PictureDialog::Copy() {
  CopyNow();
  if (!error_->isVisible()) {
    accept();
  }
}

void PictureDialog::CopyNow() {
  const Picture picture = Draw();
  if (!picture.pixels.empty()) {
    QApplication::clipboard()->setImage(
        QImage(picture.pixels.data(), picture.width, picture.height, QImage::Format_RGBA8888).copy());
  }
}

}  // namespace mirel
