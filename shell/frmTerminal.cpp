#include "shell/frmTerminal.h"

#include "about/frmAbout.h"
#include "config/frmPrinters.h"
#include "core/ProgramVersion.h"
#include "core/Text.h"
#include "helpdesk/frmHelpdesk.h"
#include "shell/ConsoleFonts.h"
#include "shell/StoreList.h"
#include "uploader/frmUploader.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
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
    : QMainWindow(parent), m_ports(ports), m_config(config), m_service(service) {
    setObjectName(QStringLiteral("frmTerminal"));
    buildControls();
}

frmTerminal::~frmTerminal() = default;

void frmTerminal::buildControls() {
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);

    Frame1 = new QFrame(central);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    Frame1->setFrameShape(QFrame::Box);
    auto* frameLayout = new QVBoxLayout(Frame1);
    for (const char* caption : {"VORNEOnline", "TERMINAL"}) {
        auto* label = new QLabel(QString::fromLatin1(caption), Frame1);
        label->setAlignment(Qt::AlignCenter);
        label->setFont(QFont(QStringLiteral("Arial"), 28, QFont::Bold));
        frameLayout->addWidget(label);
    }
    auto* loading = new QLabel(QStringLiteral("Loading ..."), Frame1);
    loading->setAlignment(Qt::AlignCenter);
    frameLayout->addWidget(loading);
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
    connect(ListView1, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item, int) {
        const auto row = storeIndexFromKey(item->data(0, keyRole).toString().toStdString());
        if (row >= 0)
            connectStore(row);
    });
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
        m_panels[QString::fromLatin1(key)] = label;
    }

    buildToolbar();
    buildTray();

    Timer1 = new QTimer(this);
    Timer1->setObjectName(QStringLiteral("Timer1"));
    Timer1->setInterval(m_config.tickMs);
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
            connect(menu, &QMenu::triggered, this, [this, b, menu](QAction* item) {
                Toolbar1_ButtonMenuClick(b, static_cast<int>(menu->actions().indexOf(item)) + 1, item->text(),
                                         item->data().toString());
            });
        }
        connect(b, &QToolButton::clicked, this, [this, key] { Toolbar1_ButtonClick(key); });
        toolbar->addWidget(b);
        m_buttons[key] = b;
    }
}

void frmTerminal::buildTray() {
    mnuPopup = new QMenu(this);
    mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
    struct Item {
        const char* name;
        const char* caption;
        void (frmTerminal::*command)();
    };
    const Item items[] = {
        {"mnuConnect", "Connect", nullptr},
        {"mnuTools", "Tools", &frmTerminal::doTools},
        {"mnuHelpdesk", "Helpdesk", &frmTerminal::doHelpdesk},
        {"mnuReports", "Reports", &frmTerminal::doReports},
        {"mnuAbout", "About", &frmTerminal::doAbout},
        {"mnuUploader", "Uploader", &frmTerminal::doUploader},
    };
    for (const auto& item : items) {
        auto* action = mnuPopup->addAction(QString::fromLatin1(item.caption));
        action->setObjectName(QString::fromLatin1(item.name));
        auto command = item.command;
        connect(action, &QAction::triggered, this, [this, command] {
            if (command)
                (this->*command)();
            else
                connectStore(0);
        });
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
    // Up to the settings load, a failing step is skipped and the window still opens.
    m_updateBaseUrl = m_config.updateUrl;
    if (!m_ports.singleInstance.acquire()) {
        m_ports.dialogs.message("Sorry, you can only run one copy of the VORNEOnline Terminal program");
        return false;
    }
    setWindowTitle(qs("VORNE Terminal Version " + programVersion()));
    cSysTray1->show(); // the way back to a window hidden by its close box or by a connection
    Frame1->show();
    ListView1->hide();
    show();
    m_ports.yield.yield();
    try {
        whatsSupported();
        getStoreList();
    } catch (const std::exception& e) {
        setStatus(QStringLiteral("message"), e.what());
    }
    m_state.settings.open();
    try {
        loadSettings();
    } catch (const std::exception& e) {
        setStatus(QStringLiteral("message"), e.what());
    }

    Timer1->start();
    panel(QStringLiteral("winsock"))->setText(QStringLiteral("Closed"));
    m_state.serverList = text::split(m_config.serverList, ',');
    m_state.serverIndex = 0;
    m_state.channelPort = 47000;
    m_state.reconnectPending = true;
    m_state.channelTimeout = 30;
    setUpChannel();
    return true;
}

void frmTerminal::Form_Unload() {
    m_unloading = true;
    Timer1->stop();
    GetDefaultSettings(true);
    writeSettings();
    m_state.settings.close();
    cSysTray1->hide();
}

void frmTerminal::GetDefaultSettings(bool) {}

void frmTerminal::whatsSupported() {
    auto* menu = buttonMenu(QStringLiteral("tools"));
    menu->clear();
    for (const auto& font : station::whatsSupported())
        menu->addAction(qs(consoleFontMenuText(font)));
}

void frmTerminal::getStoreList() {
    const auto reply = fetchStoreList(m_service, m_ports.adapters, m_ports.yield, m_state, programVersion());
    if (reply && reply->hasData) {
        auto* uploads = buttonMenu(QStringLiteral("uploader"));
        uploads->clear();
        for (std::size_t k = 0; k < m_state.stores.count(); ++k)
            uploads->addAction(qs(storeMenuText(m_state.stores.at(k))))->setData(qs(storeRowKey(k)));
    }
    if (const auto notice = storeListNotice(reply); !notice.empty())
        setStatus(QStringLiteral("message"), notice);
    fillStoreRows();
    Frame1->hide();
    ListView1->show();
}

void frmTerminal::fillStoreRows() {
    ListView1->clear();
    ListView1->setColumnCount(5);
    ListView1->setHeaderLabels({QStringLiteral("Store Name"), QStringLiteral("Register"), QStringLiteral("User Name"),
                                QStringLiteral("Serial Number"), QStringLiteral("Status")});
    auto* connectMenu = buttonMenu(QStringLiteral("connect"));
    connectMenu->clear();
    QList<QTreeWidgetItem*> rows;
    for (std::size_t k = 0; k < m_state.stores.count(); ++k) {
        const auto& e = m_state.stores.at(k);
        auto* item = new QTreeWidgetItem(
            {qs(e.storeName), qs(e.terminalNumber), qs(e.displayUser), qs(e.serialNumber), QString()});
        item->setData(0, keyRole, qs(storeRowKey(k)));
        rows.append(item);
        connectMenu->addAction(qs(storeMenuText(e)))->setData(qs(storeRowKey(k)));
    }
    ListView1->addTopLevelItems(rows);
    for (int c = 0; c < 4; ++c)
        ListView1->resizeColumnToContents(c);
}

void frmTerminal::SortListView(int column) {
    m_sort.click(column);
    const auto order = m_sort.descending() ? Qt::DescendingOrder : Qt::AscendingOrder;
    ListView1->header()->setSortIndicatorShown(true);
    ListView1->header()->setSortIndicator(m_sort.column(), order);
    ListView1->sortItems(m_sort.column(), order);
}

void frmTerminal::Toolbar1_ButtonClick(const QString& key) {
    const auto k = key.toLower();
    if (k == QStringLiteral("connect"))
        connectStore(0);
    else if (k == QStringLiteral("uploader"))
        doUploader();
    else if (k == QStringLiteral("tools"))
        doTools();
    else if (k == QStringLiteral("helpdesk"))
        doHelpdesk();
    else if (k == QStringLiteral("reports"))
        doReports();
    else if (k == QStringLiteral("about"))
        doAbout();
}

void frmTerminal::Toolbar1_ButtonMenuClick(QToolButton* owner, int itemIndex, const QString& itemText,
                                           const QString& itemKey) {
    const auto caption = owner->text();
    if (caption == QStringLiteral("Uploader")) {
        const auto store = storeIndexFromKey(itemKey.toStdString());
        if (store < 0)
            return;
        showUploader(store);
    } else if (caption == QStringLiteral("Tools")) {
        changeFonts(consoleFontFromMenuText(itemText.toStdString()));
    } else if (caption.toUpper() == QStringLiteral("CONNECT")) {
        connectStore(itemIndex - 1);
    }
}

void frmTerminal::doUploader() {
    if (buttonMenu(QStringLiteral("uploader"))->actions().size() > 1) {
        m_ports.dialogs.message(
            "You have access to more then one store, please press the down arrow next to the button "
            "and select a single store",
            Dialogs::Icon::Information);
        return;
    }
    showUploader(0);
}

void frmTerminal::showUploader(int store) {
    if (!m_uploader)
        m_uploader = new frmUploader(m_state, store, this);
    m_uploader->setStoreIndex(store);
    m_uploader->show();
}

void frmTerminal::doTools() {
    GetDefaultSettings();
    auto* printers = new frmPrinters(m_state, this);
    printers->exec();
    writeSettings();
}

void frmTerminal::doHelpdesk() {
    if (!m_helpdesk)
        m_helpdesk = new frmHelpdesk(m_state, this);
    m_helpdesk->show();
}

void frmTerminal::doAbout() {
    if (!m_about)
        m_about = new frmAbout(m_state, this);
    m_about->show();
}

void frmTerminal::doReports() {
    m_ports.browser.open("http://" + m_config.backofficeHost + ":8300/ebs.cfm");
}

void frmTerminal::closeEvent(QCloseEvent* event) {
    if (m_unloading) {
        event->accept();
        return;
    }
    // The close box only hides the station; it stays reachable from the tray.
    event->ignore();
    hide();
}

bool frmTerminal::event(QEvent* e) {
    // Activating the station brings a running telnet client forward with it.
    if (e->type() == QEvent::WindowActivate && m_state.clientWindow > 0)
        bringClientForward();
    return QMainWindow::event(e);
}

QToolButton* frmTerminal::button(const QString& key) const {
    const auto it = m_buttons.find(key.toLower());
    return it == m_buttons.end() ? nullptr : it->second;
}

QMenu* frmTerminal::buttonMenu(const QString& key) const {
    auto* b = button(key);
    return b ? b->menu() : nullptr;
}

QLabel* frmTerminal::panel(const QString& key) const {
    const auto it = m_panels.find(key);
    return it == m_panels.end() ? nullptr : it->second;
}

QTreeWidgetItem* frmTerminal::rowByKey(const std::string& key) const {
    const auto wanted = qs(key);
    for (int i = 0; i < ListView1->topLevelItemCount(); ++i)
        if (auto* item = ListView1->topLevelItem(i); item->data(0, keyRole).toString() == wanted)
            return item;
    return nullptr;
}

void frmTerminal::setStatus(const QString& key, const std::string& text) {
    if (auto* p = panel(key))
        p->setText(qs(text));
}

} // namespace station
