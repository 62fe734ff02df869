#pragma once
// The process-wide instance of one driver handle class and its shut-down-device flag.
// PARAM is the class's parameter record; its status tells whether construction succeeded.

template <class T, class PARAM> class TDriverSingleton
{
public:
    // Creates the instance on first call; a construction that ends with a non-zero status
    // is released at once, so callers never see a half-open handle.
    static T* S_GetInstance()
    {
        if (S_mpInstance == nullptr)
        {
            PARAM param_X = {};
            S_mpInstance = new T(&param_X);
            if (param_X.Status_S32 != 0)
            {
                S_ReleaseInstance(true);
            }
        }
        return S_mpInstance;
    }

    static void S_ReleaseInstance(bool shutdownDevice)
    {
        S_mDoDeviceShutdown = shutdownDevice;
        T* pInstance = S_mpInstance;
        S_mpInstance = nullptr;
        delete pInstance;
    }

protected:
    static inline T* S_mpInstance = nullptr;
    static inline bool S_mDoDeviceShutdown = false;
};
