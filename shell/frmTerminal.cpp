#include "shell/frmTerminal.h"

#include "about/frmAbout.h"
#include "config/frmPrinters.h"
#include "connection/frmGetInfo.h"
#include "helpdesk/frmHelpdesk.h"
#include "host/frmDisplayPole.h"
#include "platform/SerialPortNames.h"
#include "shell/StoreList.h"
#include "uploader/frmUploader.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFrame>
#include <QHeaderView>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QShortcut>
#include <QStatusBar>
#include <QStyle>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace station {
namespace {

QString qs(const std::string& s) {
    return QString::fromStdString(s);
}

constexpr int keyRole = Qt::UserRole;
constexpr int statusColumn = 4;

std::string programFolder() {
    return QDir::toNativeSeparators(QCoreApplication::applicationDirPath() + QDir::separator()).toStdString();
}

struct ToolbarButton {
    const char* key;
    const char* caption;
    const char* tip;
    QStyle::StandardPixmap icon;
    bool dropDown;
};

// Order matters: the first button (Connect) is the one a running client disables.
constexpr ToolbarButton toolbarButtons[] = {
    {"connect", "Connect", "Connect to VORNE", QStyle::SP_DriveNetIcon, true},
    {"tools", "Tools", "", QStyle::SP_FileDialogDetailedView, true},
    {"helpdesk", "Helpdesk", "Request Help ", QStyle::SP_MessageBoxQuestion, false},
    {"reports", "Reports", "VORNEOnline Enterprise Backoffice System", QStyle::SP_FileDialogContentsView, false},
    {"about", "Info", "VORNE-Terminal Information", QStyle::SP_MessageBoxInformation, false},
    {"uploader", "Uploader", "", QStyle::SP_ArrowUp, true},
};

} // namespace

frmTerminal::frmTerminal(Ports& ports, const StationConfig& config, const ServiceClient& service, QWidget* parent)
    : QMainWindow(parent), m_controller(ports, config, service, *this, programFolder()), m_ports(ports),
      m_service(service), m_ftpHost(config.ftpHost) {
    // The toolkit's own icons: looked up in a desktop icon theme first, each walked some 1,600
    // folders under X (the larger part of building this window) to end with the same icon.
    QIcon::setThemeSearchPaths({QStringLiteral(":/icons")});
    setObjectName(QStringLiteral("frmTerminal"));
    buildControls();
    // The sign-on window: its key, an item under Tools and one in the tray menu.
    auto* getInfo = new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_G), this);
    getInfo->setObjectName(QStringLiteral("GetInfoShortcut"));
    connect(getInfo, &QShortcut::activated, this, &frmTerminal::openGetInfo);
    Timer1->setInterval(config.tickMs);
}

frmTerminal::~frmTerminal() = default;

void frmTerminal::buildControls() {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    Frame1 = new QFrame(central);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Frame1->setFrameShape(QFrame::Box);
    auto* frameLayout = new QVBoxLayout(Frame1);
    for (const char* caption : {"VORNEOnline", "TERMINAL", "Loading ..."}) {
        auto* label = new QLabel(QString::fromLatin1(caption), Frame1);
        label->setAlignment(Qt::AlignCenter);
        if (frameLayout->count() < 2) // the name in large letters, then what the station is doing
            label->setFont(QFont(QStringLiteral("Arial"), 28, QFont::Bold));
        frameLayout->addWidget(label);
    }
    Frame1->hide();
    layout->addWidget(Frame1);

    ListView1 = new QTreeWidget(central);
    ListView1->setObjectName(QStringLiteral("ListView1"));
    ListView1->setRootIsDecorated(false);
    ListView1->setUniformRowHeights(true);
    ListView1->setAlternatingRowColors(true);
    ListView1->setSelectionMode(QAbstractItemView::SingleSelection);
    ListView1->header()->setSectionsClickable(true);
    connect(ListView1->header(), &QHeaderView::sectionClicked, this, &frmTerminal::SortListView);
    const auto connectItem = [this](QTreeWidgetItem* item) {
        // The row's key names its entry, wherever sorting has moved the row.
        const auto row = item ? storeIndexFromKey(item->data(0, keyRole).toString().toStdString()) : -1;
        if (row >= 0)
            connectStore(row);
    };
    connect(ListView1, &QTreeWidget::itemDoubleClicked, this,
            [connectItem](QTreeWidgetItem* item, int) { connectItem(item); });
    // From the keyboard, Enter on the chosen row connects it as a double click does.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* enter = new QShortcut(QKeySequence(key), ListView1);
        enter->setContext(Qt::WidgetShortcut);
        connect(enter, &QShortcut::activated, this, [this, connectItem] { connectItem(ListView1->currentItem()); });
    }
    layout->addWidget(ListView1);

    ProgressBar1 = new QProgressBar(central);
    ProgressBar1->setObjectName(QStringLiteral("ProgressBar1"));
    ProgressBar1->hide();
    layout->addWidget(ProgressBar1);
    setCentralWidget(central);

    for (const char* key : {"connect", "message", "winsock"}) {
        auto* label = new QLabel(this);
        label->setObjectName(QString::fromLatin1(key));
        statusBar()->addWidget(label, key == std::string_view("message") ? 1 : 0);
    }

    buildToolbar();
    buildTray();

    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    connect(Timer1, &QTimer::timeout, this, &frmTerminal::Timer1_Timer);

    resize(760, 420);
}

void frmTerminal::buildToolbar() {
    auto* toolbar = addToolBar(QStringLiteral("Toolbar1"));
    toolbar->setObjectName(QStringLiteral("Toolbar1"));
    toolbar->setMovable(false);
    toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    for (const auto& button : toolbarButtons) {
        const auto key = QString::fromLatin1(button.key);
        auto* b = new QToolButton(toolbar);
        b->setObjectName(key);
        b->setText(QString::fromLatin1(button.caption));
        b->setToolTip(QString::fromLatin1(button.tip));
        b->setIcon(style()->standardIcon(button.icon));
        b->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
        if (button.dropDown) {
            auto* menu = new QMenu(b);
            b->setMenu(menu);
            b->setPopupMode(QToolButton::MenuButtonPopup);
            connect(menu, &QMenu::triggered, this, [this, button, menu](QAction* item) {
                m_controller.menuCommand(button.key, static_cast<int>(menu->actions().indexOf(item)) + 1,
                                         item->text().toStdString(), item->data().toString().toStdString());
            });
        }
        connect(b, &QToolButton::clicked, this, [this, button] { m_controller.command(button.key); });
        toolbar->addWidget(b);
    }
}

void frmTerminal::buildTray() {
    mnuPopup = new QMenu(this);
    mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
    // Name, caption and the command's key.
    constexpr const char* items[][3] = {
        {"mnuConnect", "Connect", "connect"},
        {"mnuTools", "Tools", "tools"},
        {"mnuHelpdesk", "Helpdesk", "helpdesk"},
        {"mnuReports", "Reports", "reports"},
        {"mnuAbout", "About", "about"},
        {"mnuUploader", "Uploader", "uploader"},
        {"mnuGetInfo", "Get External Data...", "getinfo"},
    };
    for (const auto& item : items) {
        auto* action = mnuPopup->addAction(QString::fromLatin1(item[1]));
        action->setObjectName(QString::fromLatin1(item[0]));
        connect(action, &QAction::triggered, this, [this, key = item[2]] { m_controller.command(key); });
    }
    mnuPopup->addSeparator()->setObjectName(QStringLiteral("mnuBreak"));
    auto* exit = mnuPopup->addAction(QStringLiteral("Exit"));
    exit->setObjectName(QStringLiteral("mnuExit"));
    connect(exit, &QAction::triggered, this, [this] {
        Form_Unload();
        qApp->quit();
    });

    cSysTray1 = new QSystemTrayIcon(style()->standardIcon(QStyle::SP_ComputerIcon), this);
    cSysTray1->setObjectName(QStringLiteral("cSysTray1"));
    cSysTray1->setToolTip(QStringLiteral("VORNE Terminal"));
    cSysTray1->setContextMenu(mnuPopup);
    connect(cSysTray1, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::DoubleClick) {
            showNormal();
            activateWindow();
        }
    });
}

bool frmTerminal::Form_Load() {
    return m_controller.load();
}

void frmTerminal::Form_Unload() {
    m_unloading = true;
    m_controller.unload();
    cSysTray1->hide();
}

void frmTerminal::SortListView(int column) {
    m_sort.click(column);
    const auto order = m_sort.descending() ? Qt::DescendingOrder : Qt::AscendingOrder;
    ListView1->header()->setSortIndicatorShown(true);
    ListView1->header()->setSortIndicator(m_sort.column(), order);
    ListView1->sortItems(m_sort.column(), order);
}

void frmTerminal::closeEvent(QCloseEvent* event) {
    // The close box never ends the station: only an unload closes the window.
    event->setAccepted(m_unloading);
    if (!m_unloading)
        m_controller.closeRequested();
}

bool frmTerminal::event(QEvent* e) {
    if (e->type() == QEvent::WindowActivate)
        m_controller.activated();

    return QMainWindow::event(e);
}

QToolButton* frmTerminal::button(const QString& key) const {
    return findChild<QToolButton*>(key.toLower());
}

QMenu* frmTerminal::buttonMenu(const QString& key) const {
    auto* b = button(key);
    return b ? b->menu() : nullptr;
}

QLabel* frmTerminal::panel(const QString& key) const {
    return findChild<QLabel*>(key);
}

QTreeWidgetItem* frmTerminal::rowByKey(const std::string& key) const {
    const auto wanted = qs(key);
    for (int i = 0; i < ListView1->topLevelItemCount(); ++i)
        if (auto* item = ListView1->topLevelItem(i); item->data(0, keyRole).toString() == wanted)
            return item;
    return nullptr;
}

// --- StationView ---

std::string frmTerminal::panelText() const {
    return panel(QStringLiteral("winsock"))->text().toStdString();
}

void frmTerminal::setPanelText(const std::string& text) {
    panel(QStringLiteral("winsock"))->setText(qs(text));
}

void frmTerminal::setPanelToolTip(const std::string& text) {
    panel(QStringLiteral("winsock"))->setToolTip(qs(text));
}

void frmTerminal::showPanel() {
    panel(QStringLiteral("winsock"))->setVisible(true);
}

void frmTerminal::showPole() {
    if (m_pole)
        return;
    m_pole = new frmDisplayPole(this);
    m_pole->show();
}

void frmTerminal::setPoleLine(int index, const std::string& text) {
    if (m_pole)
        (index == 0 ? m_pole->lblLine1 : m_pole->lblLine2)->setText(qs(text));
}

void frmTerminal::setCaption(const std::string& text) {
    setWindowTitle(qs(text));
}

void frmTerminal::showLoading() {
    cSysTray1->show(); // the way back to a window hidden by its close box or by a connection
    Frame1->show();
    ListView1->hide();
    show();
}

void frmTerminal::setFontMenu(const std::vector<std::string>& items) {
    auto* menu = buttonMenu(QStringLiteral("tools"));
    menu->clear();
    for (const auto& item : items)
        menu->addAction(qs(item));
    // The sign-on window where users look for a tool, beside its key.
    menu->addSeparator();
    menu->addAction(QStringLiteral("Get External Data..."))->setData(QStringLiteral("getinfo"));
}

void frmTerminal::setUploaderMenu(const std::vector<StoreRow>& stores) {
    auto* menu = buttonMenu(QStringLiteral("uploader"));
    menu->clear();
    for (const auto& store : stores)
        menu->addAction(qs(store.menuText))->setData(qs(store.key));
}

void frmTerminal::showStoreRows(const std::vector<StoreRow>& rows) {
    ListView1->clear();
    ListView1->setHeaderLabels({QStringLiteral("Store Name"), QStringLiteral("Register"), QStringLiteral("User Name"),
                                QStringLiteral("Serial Number"), QStringLiteral("Status")});
    auto* connectMenu = buttonMenu(QStringLiteral("connect"));
    connectMenu->clear();
    QList<QTreeWidgetItem*> items;
    for (const auto& row : rows) {
        auto* item = new QTreeWidgetItem(
            {qs(row.storeName), qs(row.terminalNumber), qs(row.displayUser), qs(row.serialNumber), QString()});
        item->setData(0, keyRole, qs(row.key));
        items.append(item);
        connectMenu->addAction(qs(row.menuText))->setData(qs(row.key));
    }
    ListView1->addTopLevelItems(items);
    for (int c = 0; c < 4; ++c)
        ListView1->resizeColumnToContents(c);
    Frame1->hide();
    ListView1->show();
}

void frmTerminal::setPanel(Panel which, const std::string& text) {
    panel(which == Panel::Connect ? QStringLiteral("connect") : QStringLiteral("message"))->setText(qs(text));
}

int frmTerminal::rowCount() const {
    return ListView1->topLevelItemCount();
}

bool frmTerminal::rowBold(int row) const {
    const auto* item = rowByKey(storeRowKey(static_cast<std::size_t>(row)));
    return item && item->font(0).bold();
}

void frmTerminal::markRow(int row, bool bold, const std::string& status) {
    auto* item = rowByKey(storeRowKey(static_cast<std::size_t>(row)));
    if (!item)
        return;
    for (int c = 0; c < item->columnCount(); ++c) {
        auto font = item->font(c);
        font.setBold(bold);
        item->setFont(c, font);
    }
    item->setText(statusColumn, qs(status));
}

void frmTerminal::setConnectEnabled(bool enabled) {
    button(QStringLiteral("connect"))->setEnabled(enabled);
}

bool frmTerminal::trayAvailable() const {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

void frmTerminal::hideWindow() {
    hide();
}

void frmTerminal::minimiseWindow() {
    showMinimized();
}

void frmTerminal::raiseWindow() {
    raise();
}

void frmTerminal::restoreWindow() {
    setWindowState(windowState() & ~(Qt::WindowMinimized | Qt::WindowMaximized));
}

void frmTerminal::setTimerEnabled(bool enabled) {
    enabled ? Timer1->start() : Timer1->stop();
}

void frmTerminal::openUploader(int store) {
    if (!m_uploader)
        m_uploader = new frmUploader(state(), m_ports, m_service, m_ftpHost, store, this);
    m_uploader->setStoreIndex(store);
    m_uploader->show();
}

void frmTerminal::openHelpdesk() {
    if (!m_helpdesk)
        m_helpdesk = new frmHelpdesk(state(), m_ports, m_service, this);
    m_helpdesk->show();
}

void frmTerminal::openAbout() {
    if (!m_about)
        m_about = new frmAbout(state(), m_ports, this);
    m_about->show();
}

void frmTerminal::openGetInfo() {
    if (!m_getInfo)
        m_getInfo = new frmGetInfo(m_ports.dialogs, state().connection, programFolder(), this);
    m_getInfo->show();
    m_getInfo->raise();
}

void frmTerminal::showProgress() {
    ProgressBar1->setVisible(true);
}

bool frmTerminal::progressVisible() const {
    return !ProgressBar1->isHidden(); // its own setting, whether or not the window is shown
}

void frmTerminal::setProgress(int minimum, int maximum, int value) {
    ProgressBar1->setRange(minimum, maximum);
    ProgressBar1->setValue(value);
}

void frmTerminal::endProgram() {
    // Ending is an unload like the tray's Exit: the settings go back to the service first.
    Form_Unload();
    close();
    QCoreApplication::exit(0);
}

void frmTerminal::runPrinterSetup() {
    auto* printers =
        new frmPrinters(state(), m_controller.ports(), systemReaderTestImagePath(QDir::tempPath().toStdString()), this);
    printers->exec();
}

} // namespace station
