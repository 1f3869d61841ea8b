#include "uploader/frmUploader.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace station {

namespace {

template <class W> W* named(W* widget, const char* name) {
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

QString qt(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

} // namespace

frmUploader::frmUploader(StationState& state, Ports& ports, const ServiceClient& service, const std::string& ftpHost,
                         int storeIndex, QWidget* parent)
    : QDialog(parent), m_storeIndex(storeIndex),
      m_uploader(ports.ftp.open(), ftpHost, state, service, ports.dialogs, ports.yield, *this) {
    setObjectName(QStringLiteral("frmUploader"));
    setWindowTitle(QStringLiteral("Uploader"));
    setAttribute(Qt::WA_DeleteOnClose);
    m_uploader.setStore(storeIndex);

    Drive1 = named(new QComboBox(this), "Drive1");
    Dir1 = named(new QListWidget(this), "Dir1");
    lblFolder = named(new QLabel(this), "lblFolder");
    List1 = named(new QListWidget(this), "List1");
    List1->setSelectionMode(QAbstractItemView::MultiSelection);
    List2 = named(new QListWidget(this), "List2");
    Label3 = named(new QLabel(this), "Label3");
    cmdRefresh = named(new QPushButton(QStringLiteral("Refresh"), this), "cmdRefresh");
    cmdTransfer = named(new QPushButton(QStringLiteral("Transfer >>"), this), "cmdTransfer");
    cmdSavePath = named(new QPushButton(QStringLiteral("Save Path"), this), "cmdSavePath");
    cmdExit = named(new QPushButton(QStringLiteral("Exit"), this), "cmdExit");

    for (const auto& drive : QDir::drives())
        Drive1->addItem(QDir::toNativeSeparators(drive.absoluteFilePath()));

    auto* local = new QVBoxLayout;
    local->addWidget(Drive1);
    local->addWidget(lblFolder);
    local->addWidget(Dir1);
    local->addWidget(List1);
    auto* middle = new QVBoxLayout;
    middle->addStretch();
    middle->addWidget(cmdTransfer);
    middle->addWidget(cmdRefresh);
    middle->addWidget(cmdSavePath);
    middle->addStretch();
    auto* lists = new QHBoxLayout;
    lists->addLayout(local, 1);
    lists->addLayout(middle);
    lists->addWidget(List2, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(Label3, 1);
    bottom->addWidget(cmdExit);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(lists);
    layout->addLayout(bottom);

    connect(Drive1, &QComboBox::textActivated, this, [this](const QString& drive) { Dir1_Change(drive); });
    connect(Dir1, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
        Dir1_Change(QDir::cleanPath(QDir(m_folder).absoluteFilePath(item->text())));
    });
    connect(List2, &QListWidget::itemDoubleClicked, this, &frmUploader::List2_DblClick);
    connect(cmdRefresh, &QPushButton::clicked, this, &frmUploader::cmdRefresh_Click);
    connect(cmdTransfer, &QPushButton::clicked, this, &frmUploader::cmdTransfer_Click);
    connect(cmdSavePath, &QPushButton::clicked, this, &frmUploader::cmdSavePath_Click);
    connect(cmdExit, &QPushButton::clicked, this, &frmUploader::cmdExit_Click);
    Dir1_Change(QDir::homePath());
}

frmUploader::~frmUploader() = default;

std::string frmUploader::folder() const {
    return QDir::toNativeSeparators(m_folder).toStdString();
}

void frmUploader::setStoreIndex(int storeIndex) {
    if (storeIndex == m_storeIndex)
        return;
    m_storeIndex = storeIndex;
    m_uploader.setStore(storeIndex);
    // An open window turns to the newly chosen store at once.
    if (isVisible()) {
        m_uploader.cmdRefresh_Click();
        closeIfDue();
    }
}

void frmUploader::reject() {
    if (m_uploader.requestClose() == Uploader::Close::Now)
        QDialog::reject();
}

void frmUploader::closeEvent(QCloseEvent* event) {
    if (m_uploader.requestClose() == Uploader::Close::Now)
        QDialog::closeEvent(event);
    else
        event->ignore();
}

void frmUploader::closeIfDue() {
    if (m_uploader.takeDueClose())
        close();
}

void frmUploader::setVisible(bool visible) {
    const bool opening = visible && !isVisible();
    // Shown first, activated after: a window that waited inside its own show came up unmapped
    // for the length of the wait and then at the size the system gives a window never sized.
    QDialog::setVisible(visible);
    if (!opening || !isVisible())
        return;
    if (const auto saved = m_uploader.Form_Activate(folder()))
        Dir1_Change(qt(*saved));
    cmdSavePath->setEnabled(m_uploader.differsFromSaved(folder()));
    closeIfDue();
}

void frmUploader::fillFolders() {
    Dir1->clear();
    QDir dir(m_folder);
    if (!dir.isRoot())
        Dir1->addItem(QStringLiteral(".."));
    for (const auto& name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase))
        Dir1->addItem(name);
}

void frmUploader::Dir1_Change(const QString& folder) {
    if (!QDir(folder).exists())
        return;
    m_folder = QDir::cleanPath(folder);
    lblFolder->setText(QDir::toNativeSeparators(m_folder));
    fillFolders();
    List1->clear();
    for (const auto& name : QDir(m_folder).entryList(QDir::Files, QDir::Name | QDir::IgnoreCase))
        List1->addItem(name);
    cmdSavePath->setEnabled(m_uploader.differsFromSaved(this->folder()));
}

void frmUploader::cmdRefresh_Click() {
    m_uploader.cmdRefresh_Click();
    closeIfDue();
}

void frmUploader::cmdTransfer_Click() {
    std::vector<std::string> selected;
    for (int i = 0; i < List1->count(); ++i)
        if (List1->item(i)->isSelected())
            selected.push_back(List1->item(i)->text().toStdString());
    m_uploader.cmdTransfer_Click(folder(), selected);
    closeIfDue();
}

void frmUploader::cmdSavePath_Click() {
    m_uploader.cmdSavePath_Click(folder());
    cmdSavePath->setEnabled(m_uploader.differsFromSaved(folder()));
    closeIfDue();
}

void frmUploader::cmdExit_Click() {
    close();
}

void frmUploader::List2_DblClick(QListWidgetItem* item) {
    if (!item)
        return;
    m_uploader.List2_DblClick(item->text().toStdString());
    closeIfDue();
}

void frmUploader::setCaption(const std::string& text) {
    setWindowTitle(qt(text));
}

void frmUploader::showRemote(const std::vector<std::string>& names) {
    List2->clear();
    for (const auto& name : names)
        List2->addItem(qt(name));
}

void frmUploader::showProgress(const std::string& text, bool exitEnabled) {
    Label3->setText(qt(text));
    cmdExit->setEnabled(exitEnabled);
}

void frmUploader::unselect(const std::string& name) {
    for (auto* item : List1->findItems(qt(name), Qt::MatchExactly | Qt::MatchCaseSensitive))
        item->setSelected(false);
}

} // namespace station
