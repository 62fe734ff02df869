#pragma once
// Which host controller board is fitted: 1 when the codec board node "/dev/zq8_0" exists, else 0.
unsigned int GetKrpcBoardType();
