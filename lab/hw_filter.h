// A seccomp filter that hands the system calls of simulated hardware to another process, by user notification.
#pragma once

// Filters this process and what it becomes or starts: the ioctls of I2C transfers and MII registers wait for an answer,
// everything else goes to the kernel as before. Returns the descriptor to answer on, or -1 with errno.
int install_hw_filter();

bool send_descriptor(int socket, int descriptor);
int receive_descriptor(int socket); // -1: the other end closed it instead
