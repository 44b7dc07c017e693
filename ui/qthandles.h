// The numbers by which the rest of the process knows widgets and actions.
#pragma once

#include <QPointer>
#include <QWidget>
#include <cstdint>
#include <unordered_map>
#include <vector>

class QAction;

// What a window handle stands for: a widget, or one of the tabs of a QTabBar.
struct QtPlace
{
    static constexpr int WHOLE = -1;

    QWidget* pWidget = nullptr;
    int nTab = WHOLE;

    explicit operator bool() const { return pWidget != nullptr; }
};

// The one table of the process, for the thread of QApplication alone. A number is used once.
class QtHandles
{
public:
    static QtHandles& Get();

    // The number of a place, new or known; 0 for none.
    uintptr_t NumberOf( const QtPlace& rPlace );
    uintptr_t NumberOf( QAction* pAction );
    // What a number stands for; nothing when it is gone.
    QtPlace Find( uintptr_t uNumber ) const;

private:
    struct Entry
    {
        QPointer<QObject> pObject;
        int nTab;
    };

    uintptr_t NumberOf( QObject* pObject, int nTab );
    uintptr_t Add( QObject* pObject, int nTab );
    void Forget( QObject* pObject );

    uintptr_t m_uLast = 0x10000;
    std::unordered_map<uintptr_t, Entry> m_aEntries;
    // By object: the numbers of itself and its tabs.
    std::unordered_map<const QObject*, std::vector<uintptr_t>> m_aNumbers;
};
