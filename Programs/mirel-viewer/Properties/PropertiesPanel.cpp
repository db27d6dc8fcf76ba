#include <Programs/mirel-viewer/Properties/PropertiesPanel.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Opening/ConverterProcess.h>
#include <Programs/mirel-viewer/Properties/NodeProperties.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QHeaderView>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace mirel {

PropertiesPanel::PropertiesPanel(Document& document, QWidget* parent) : QWidget(parent), document_(document) {
  rows_ = new QTreeWidget(this);
  rows_->setObjectName("Properties");
  rows_->setAccessibleName(tr("Properties of what is selected"));
  rows_->setColumnCount(2);
  rows_->setHeaderHidden(true);
  rows_->setRootIsDecorated(false);
  rows_->setTextElideMode(Qt::ElideMiddle);
  rows_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
  check_ = new QPushButton(tr("Check the file"), this);
  check_->setObjectName("CheckFile");
  check_->setToolTip(tr("Look for anything that is damaged or missing in the model folder"));
  findings_ = new QPlainTextEdit(this);
  findings_->setObjectName("Findings");
  findings_->setAccessibleName(tr("What the check found"));
  findings_->setReadOnly(true);
  findings_->hide();
  process_ = new QProcess(this);
  process_->setProcessChannelMode(QProcess::MergedChannels);

  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(4, 4, 4, 4);
  layout->addWidget(rows_, 2);
  layout->addWidget(check_);
  layout->addWidget(findings_, 1);

  connect(&document_, &Document::SelectionChanged, this, &PropertiesPanel::ShowNode);
  connect(&document_, &Document::RootRemoved, this, [this] { findings_->hide(); });
  connect(check_, &QPushButton::clicked, this, &PropertiesPanel::Check);
  connect(process_, &QProcess::finished, this, &PropertiesPanel::TakeFindings);
  connect(process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) {
      TakeFindings();
    }
  });
  ShowNode();
}

PropertiesPanel::~PropertiesPanel() {
  process_->disconnect(this);
  process_->kill();
  process_->waitForFinished();
}

void PropertiesPanel::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  ShowNode();
}

void PropertiesPanel::ShowNode() {
  const SceneNode* const node = document_.GetCurrent();
  rows_->clear();
  check_->setEnabled(node != nullptr && process_->state() == QProcess::NotRunning &&
                     !document_.GetFile(node->GetPath().front()).folder.isEmpty());
  if (node == nullptr || !isVisible()) {
    return;
  }
  for (const auto& [name, value] : NodeProperties::List(*node)) {
    auto* const row = new QTreeWidgetItem(rows_, {name, value});
    row->setToolTip(1, value.toHtmlEscaped());
  }
}

void PropertiesPanel::Check() {
  const SceneNode* const node = document_.GetCurrent();
  if (node == nullptr) {
    return;
  }
  check_->setEnabled(false);
  findings_->setPlainText(tr("Checking..."));
  findings_->show();
  process_->start(ConverterProcess::FindProgram(),
                  {"check", "--", document_.GetFile(node->GetPath().front()).folder});
}

void PropertiesPanel::TakeFindings() {
  const QString text = QString::fromUtf8(process_->readAll()).trimmed();
  const bool isFinished =
      process_->error() == QProcess::UnknownError && process_->exitStatus() == QProcess::NormalExit;
  findings_->setPlainText(isFinished ? text
                                     : tr("The check could not be made: %1").arg(process_->errorString()));
  ShowNode();
}

}  // namespace mirel
