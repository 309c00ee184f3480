#ifndef VIDEOWINDOW_TESTS_SIGNALSPY_H
#define VIDEOWINDOW_TESTS_SIGNALSPY_H

#include <QMetaMethod>
#include <QObject>

#include <string>
#include <utility>
#include <vector>

/** Writes down the names of an object's signals in the order in which they are emitted. */
class SignalSpy : public QObject
{
public:
    SignalSpy(const QObject *pSender, std::vector<std::string> signalNames) : m_names(std::move(signalNames))
    {
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            const QMetaObject *pMeta = pSender->metaObject();
            for (int nMethod = 0; nMethod < pMeta->methodCount(); ++nMethod) {
                if (pMeta->method(nMethod).methodType() == QMetaMethod::Signal &&
                    m_names[i] == pMeta->method(nMethod).name().toStdString()) {
                    QMetaObject::connect(pSender, nMethod, this,
                                         QObject::staticMetaObject.methodCount() + static_cast<int>(i),
                                         Qt::DirectConnection);
                }
            }
        }
    }

    // Connections by number arrive here, beyond QObject's own methods.
    int qt_metacall(QMetaObject::Call call, int nMethod, void **pArguments) override
    {
        nMethod = QObject::qt_metacall(call, nMethod, pArguments);
        if (nMethod >= 0 && call == QMetaObject::InvokeMetaMethod) {
            m_emitted.push_back(m_names[static_cast<std::size_t>(nMethod)]);
            nMethod = -1;
        }
        return nMethod;
    }

    [[nodiscard]] const std::vector<std::string> &emitted() const
    {
        return m_emitted;
    }

private:
    std::vector<std::string> m_names;
    std::vector<std::string> m_emitted;
};

#endif
